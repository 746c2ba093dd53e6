// How far a transform is from mapping one set of points onto another, and whether it is the best.
#pragma once

#include <gtest/gtest.h>
#include <ztlib/ZtMat4f.h>
#include <ztlib/ZtVec3d.h>
#include <ztlib/ZtVec3f.h>

#include <cmath>
#include <random>
#include <vector>

using Points = std::vector<ZtVec3f>;

/// A transform in double precision, for row vectors.
struct Transform {
    double m[4][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}};

    Transform() = default;
    explicit Transform(const ZtMat4f& matrix) {
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 3; ++j)
                m[i][j] = static_cast<double>(matrix[i][j]);
    }

    ZtVec3d operator()(const ZtVec3d& v) const {
        const auto component = [&](int j) {
            return v.x * m[0][j] + v.y * m[1][j] + v.z * m[2][j] + m[3][j];
        };
        return ZtVec3d(component(0), component(1), component(2));
    }

    double determinant() const {
        return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
               m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
               m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
    }

    /// The largest element of |L L^T - scale^2|, L being the linear part.
    double deviationFromRotation(double scale) const {
        double largest = 0;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) {
                const double product = m[i][0] * m[j][0] + m[i][1] * m[j][1] + m[i][2] * m[j][2];
                largest = std::max(largest, std::fabs(product - (i == j ? scale * scale : 0)));
            }
        return largest;
    }
};

/// The rotation by `angle` about a unit axis (Rodrigues' formula, rows transposed).
inline Transform rotationAbout(const ZtVec3d& axis, double angle) {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    Transform r;
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3;
        const int k = (i + 2) % 3;
        r.m[i][i] = c + axis[i] * axis[i] * (1 - c);
        r.m[i][j] = axis[i] * axis[j] * (1 - c) + axis[k] * s;
        r.m[i][k] = axis[i] * axis[k] * (1 - c) - axis[j] * s;
    }
    return r;
}

inline ZtVec3d randomDirection(std::mt19937& random) {
    std::normal_distribution<double> normal;
    const ZtVec3d v(normal(random), normal(random), normal(random));
    return v / std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

/// The weighted sum of the squares of the distances between p2[k] transformed and p1[k].
inline double residual(const Transform& transform, const Points& p1, const Points& p2,
                       const std::vector<float>& weights = {}) {
    double sum = 0;
    for (std::size_t k = 0; k < p1.size(); ++k) {
        const ZtVec3d d = transform(ZtVec3d(p2[k])) - ZtVec3d(p1[k]);
        sum += (d.x * d.x + d.y * d.y + d.z * d.z) *
               (weights.empty() ? 1 : static_cast<double>(weights[k]));
    }
    return sum;
}

enum class Freedom { kRigid, kScale, kAffine };

/// Expects that no random change that the transform is free to make lowers its residual.
inline void expectBest(const Transform& best, const Points& p1, const Points& p2, Freedom freedom,
                       std::mt19937& random, const std::vector<float>& weights = {}) {
    const double least = residual(best, p1, p2, weights);
    double squares = 0;
    ZtVec3d centre;
    for (std::size_t k = 0; k < p1.size(); ++k) {
        centre += ZtVec3d(p2[k]) / static_cast<double>(p2.size());
        for (int i = 0; i < 3; ++i)
            squares += std::pow(static_cast<double>(p1[k][i]), 2) +
                       std::pow(static_cast<double>(p2[k][i]), 2);
    }
    const double size = std::sqrt(squares / static_cast<double>(p1.size()));
    const ZtVec3d pivot = best(centre);
    std::uniform_real_distribution<double> uniform(-1, 1);
    for (int trial = 0; trial < 100; ++trial) {
        const double step = std::pow(10, -4.0 * trial / 100);
        Transform change = rotationAbout(randomDirection(random), step * 3 * uniform(random));
        const double factor = freedom == Freedom::kScale ? 1 + step * uniform(random) : 1;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                change.m[i][j] = change.m[i][j] * factor +
                                 (freedom == Freedom::kAffine ? step * uniform(random) : 0);
        const ZtVec3d move = randomDirection(random) * (step * size * uniform(random));
        // Changed about the image of the centroid, then moved.
        Transform changed;
        for (int i = 0; i < 4; ++i) {
            const ZtVec3d row(best.m[i][0], best.m[i][1], best.m[i][2]);
            const ZtVec3d turned = i < 3 ? change(row) : change(row - pivot) + pivot + move;
            for (int j = 0; j < 3; ++j)
                changed.m[i][j] = turned[j];
        }
        // What single precision leaves to be gained.
        ASSERT_GE(residual(changed, p1, p2, weights), least - 1e-11 * squares)
            << "step " << step << ", residual " << least << ", squares " << squares;
    }
}
