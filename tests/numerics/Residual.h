// How far a transform is from mapping one set of points onto another, and whether it is the best.
#pragma once

#include <vector>

#include "GeometryOracle.h"

using Points = std::vector<ZtVec3f>;
/// A transform in double precision, for row vectors.
using Transform = oracle::Square<4>;

inline Transform translation(const ZtVec3d& by) {
    Transform t = Transform::identity();
    std::copy_n(by.getValue(), 3, t[3]);
    return t;
}

inline Transform rotationAbout(const ZtVec3d& axis, double angle) {
    Transform r = Transform::identity();
    for (int i = 0; i < 3; ++i) {
        const ZtVec3d row = oracle::turned(ZtVec3d(r[i]), axis, angle);
        std::copy_n(row.getValue(), 3, r[i]);
    }
    return r;
}

inline ZtVec3d randomDirection(oracle::Random& random) {
    const double x = random.normal(), y = random.normal();
    return oracle::unit(ZtVec3d(x, y, random.normal()));
}

/// The weighted sum of the squares of the distances between p2[k] transformed and p1[k].
inline double residual(const Transform& transform, const Points& p1, const Points& p2,
                       const std::vector<float>& weights = {}) {
    double sum = 0;
    for (std::size_t k = 0; k < p1.size(); ++k) {
        const ZtVec3d d = image(transform, ZtVec3d(p2[k])) - ZtVec3d(p1[k]);
        sum += d.dot(d) * (weights.empty() ? 1 : static_cast<double>(weights[k]));
    }
    return sum;
}

enum class Freedom { kRigid, kScale, kAffine };

/// Expects that no random change that the transform is free to make lowers its residual.
inline void expectBest(const Transform& best, const Points& p1, const Points& p2, Freedom freedom,
                       oracle::Random& random, const std::vector<float>& weights = {}) {
    const double least = residual(best, p1, p2, weights);
    double squares = 0;
    ZtVec3d centre;
    for (std::size_t k = 0; k < p1.size(); ++k) {
        centre += ZtVec3d(p2[k]) / static_cast<double>(p2.size());
        squares += ZtVec3d(p1[k]).length2() + ZtVec3d(p2[k]).length2();
    }
    const double size = std::sqrt(squares / static_cast<double>(p1.size()));
    const ZtVec3d pivot = image(best, centre);
    for (int trial = 0; trial < 100; ++trial) {
        const double step = std::pow(10, -4.0 * trial / 100);
        const auto some = [&] { return step * static_cast<double>(random.number()); };
        Transform change = rotationAbout(randomDirection(random), 3 * some());
        const double factor = freedom == Freedom::kScale ? 1 + some() : 1;
        for (int i = 0; i < 9; ++i) {
            double& element = change[i / 3][i % 3];
            element = element * factor + (freedom == Freedom::kAffine ? some() : 0);
        }
        // Changed about the image of the centroid, then moved.
        const ZtVec3d to = pivot + randomDirection(random) * (size * some());
        const Transform changed = best * translation(-pivot) * change * translation(to);
        // What single precision leaves to be gained.
        ASSERT_GE(residual(changed, p1, p2, weights), least - 1e-11 * squares)
            << "step " << step << ", residual " << least << ", squares " << squares;
    }
}
