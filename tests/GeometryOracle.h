// Brute force in double precision, straight from the definitions, and random input that is the same
// on every system: for the tests of vectors, matrices, rotations, picking and alignment.
#pragma once

#include <gtest/gtest.h>
#include <ztlib/ZtMat4f.h>
#include <ztlib/ZtVec3d.h>
#include <ztlib/ZtVec3f.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <utility>

namespace oracle {

/// The distance from 1 to the next float; a rounding is half of it.
inline constexpr double kEps = std::numeric_limits<float>::epsilon();

inline const float kNaN = std::numeric_limits<float>::quiet_NaN();

/// Whether a number is the NaN that marks what has no value.
inline bool isMarked(float value) {
    return std::bit_cast<std::uint32_t>(value) == 0x7FC00000u;
}

inline bool isMarked(const ZtVec3f& v) {
    return isMarked(v.x) && isMarked(v.y) && isMarked(v.z);
}

class Random {
public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}
    /// Evenly from -1 to 1.
    float number() {
        return static_cast<float>(static_cast<int>(engine_() >> 8) - 0x800000) / 0x800000;
    }
    int below(int count) { return static_cast<int>(engine_() % static_cast<std::uint32_t>(count)); }
    /// Normally distributed about 0.
    double normal() { return std::normal_distribution<double>()(engine_); }
    ZtVec3f vector() {
        const float x = number(), y = number(), z = number();
        return ZtVec3f(x, y, z);
    }
    /// Of a length between 0.1 and 1, rounded to unit length.
    ZtVec3f direction() {
        for (;;) {
            ZtVec3f v = vector();
            const float length = v.normalize();
            if (length > 0.1f && length < 1)
                return v;
        }
    }
    ZtMat4f matrix() {
        ZtMat4f m;
        for (int i = 0; i < 16; ++i)
            m[i / 4][i % 4] = number();
        return m;
    }
    /// With the last column (0, 0, 0, 1).
    ZtMat4f affine() {
        ZtMat4f m = matrix();
        for (int i = 0; i < 4; ++i)
            m[i][3] = i == 3 ? 1.0f : 0.0f;
        return m;
    }

private:
    std::mt19937 engine_;
};

/// Calls `test(random, round)` with rounds from 0 until all are done or one has failed.
template <class Test>
void inRounds(std::uint32_t seed, int rounds, Test test) {
    Random random(seed);
    for (int round = 0; round < rounds && !testing::Test::HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        test(random, round);
    }
}

/// A matrix of doubles.
template <std::size_t N>
struct Square {
    double elements[N][N] = {};

    double* operator[](int i) { return elements[i]; }
    const double* operator[](int i) const { return elements[i]; }

    static Square identity() {
        Square m;
        for (int i = 0; i < int(N); ++i)
            m[i][i] = 1;
        return m;
    }
    static Square filled(double value) {
        Square m;
        std::fill_n(m[0], N * N, value);
        return m;
    }
    friend Square operator*(const Square& a, const Square& b) {
        Square p;
        for (int i = 0; i < int(N); ++i)
            for (int j = 0; j < int(N); ++j)
                for (int k = 0; k < int(N); ++k)
                    p[i][j] += a[i][k] * b[k][j];
        return p;
    }
};

template <std::size_t N, class M>
Square<N> squareOf(const M& m) {
    Square<N> s;
    for (int i = 0; i < int(N * N); ++i)
        s[i / int(N)][i % int(N)] = double(m[i / int(N)][i % int(N)]);
    return s;
}

template <std::size_t N>
Square<N> magnitudes(Square<N> m) {
    for (int i = 0; i < int(N * N); ++i)
        m[i / int(N)][i % int(N)] = std::abs(m[i / int(N)][i % int(N)]);
    return m;
}

/// The determinant as the sum over all permutations, and the sum of the terms' magnitudes.
template <std::size_t N>
std::pair<double, double> determinant(const Square<N>& m) {
    int columns[N];
    for (int i = 0; i < int(N); ++i)
        columns[i] = i;
    double sum = 0, magnitude = 0;
    do {
        double term = 1;
        for (int i = 0; i < int(N); ++i) {
            term *= m[i][columns[i]];
            for (int k = 0; k < i; ++k)
                term *= columns[k] > columns[i] ? -1 : 1;
        }
        sum += term;
        magnitude += std::abs(term);
    } while (std::next_permutation(columns, columns + N));
    return {sum, magnitude};
}

/// The image of a point under an affine transform.
inline ZtVec3d image(const Square<4>& m, const ZtVec3d& v) {
    ZtVec3d result(m[3]);
    for (int i = 0; i < 3; ++i)
        result += ZtVec3d(m[i]) * v[i];
    return result;
}

/// The image of v, turned about a unit axis by `angle` (Rodrigues' formula).
inline ZtVec3d turned(const ZtVec3d& v, const ZtVec3d& axis, double angle) {
    return v * std::cos(angle) + axis.cross(v) * std::sin(angle) +
           axis * (axis.dot(v) * (1 - std::cos(angle)));
}

inline ZtVec3d unit(ZtVec3d v) {
    v.normalize();
    return v;
}

/// Expects every component within `bound`.
inline void expectNear(const ZtVec3d& expected, const ZtVec3f& actual, double bound) {
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(expected[i], double(actual[i]), bound) << "component " << i;
}

/// Expects every element (i, j) within `factor` roundings of scale[i][j].
template <std::size_t N, class M>
void expectNear(const Square<N>& expected, const M& actual, double factor, const Square<N>& scale) {
    for (int i = 0; i < int(N); ++i)
        for (int j = 0; j < int(N); ++j)
            EXPECT_NEAR(expected[i][j], double(actual[i][j]), factor * kEps / 2 * scale[i][j])
                << "element " << i << ", " << j;
}

}  // namespace oracle
