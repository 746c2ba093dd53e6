// The references of the geometry tests: brute force in double precision, straight from the
// definitions, and random input that is the same on every system.
#pragma once

#include <gtest/gtest.h>
#include <ztlib/ZtMat4f.h>
#include <ztlib/ZtVec3d.h>
#include <ztlib/ZtVec3f.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

namespace reference {

/// The distance from 1 to the next float; a rounding is half of it.
inline constexpr double kEps = std::numeric_limits<float>::epsilon();

inline const float kNaN = std::numeric_limits<float>::quiet_NaN();

inline std::uint32_t bitsOf(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

class Random {
public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}
    /// Evenly from -1 to 1.
    float number() {
        return static_cast<float>(static_cast<int>(engine_() >> 8) - 0x800000) / 0x800000;
    }
    int below(int count) { return static_cast<int>(engine_() % static_cast<std::uint32_t>(count)); }
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
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j)
                m[i][j] = number();
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
        for (auto& row : m.elements)
            for (double& element : row)
                element = value;
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
    for (int i = 0; i < int(N); ++i)
        for (int j = 0; j < int(N); ++j)
            s[i][j] = double(m[i][j]);
    return s;
}

template <std::size_t N>
Square<N> magnitudes(Square<N> m) {
    for (auto& row : m.elements)
        for (double& element : row)
            element = std::abs(element);
    return m;
}

/// The image of v, turned about a unit axis by `angle` (Rodrigues' formula).
inline ZtVec3d turned(const ZtVec3d& v, const ZtVec3d& axis, double angle) {
    return v * std::cos(angle) + axis.cross(v) * std::sin(angle) +
           axis * (axis.dot(v) * (1 - std::cos(angle)));
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

}  // namespace reference
