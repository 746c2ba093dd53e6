// The alignment of point sets.
#include <ztlib/ZtAlignPointSets.h>
#include <ztlib/ZtContract.h>

#include <cstdio>

#include "numerics/BlockSums.h"
#include "numerics/PointPairs.h"
#include "numerics/SingularValues3.h"
#include "numerics/SolveOrThrow.h"

using numerics::CentredPairs;
using numerics::Four;
using numerics::OuterProducts;
using numerics::PointPairs;
using numerics::ScaleSums;
using numerics::SingularValues3;
using numerics::spread;

namespace {

enum Mode : int { kRigid = 0, kRigidWithScale = 1, kAffine = 2 };

/// The product of the left and the right singular vectors: with the matrix being P^T Q, what turns
/// rows of P onto those of Q.
ZtMat4f rotationOf(const SingularValues3<float>& values) {
    ZtMat4f rotation = ZtMat4f::identity();
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            rotation[i][j] = values.left[0][i] * values.right[0][j] +
                             values.left[1][i] * values.right[1][j] +
                             values.left[2][i] * values.right[2][j];
    return rotation;
}

void makeCrossProduct(float (&vectors)[3][3], int to, int a, int b) {
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3;
        const int k = (i + 2) % 3;
        vectors[to][i] = vectors[a][j] * vectors[b][k] - vectors[a][k] * vectors[b][j];
    }
}

void negate(float (&vector)[3]) {
    for (float& component : vector)
        component = -component;
}

/// The proper rotation for the sum `matrix` of p^T q.
ZtMat4f bestRotation(const float* matrix) {
    constexpr int kMaxIterations = 30;
    // Below this singular value the points are taken as coplanar.
    constexpr float kDegenerate = 1e-5f;
    SingularValues3<float> values;
    numerics::decompose3(matrix, values, kMaxIterations);
    const ZtMat4f rotation = rotationOf(values);

    const float* const w = values.w;
    int smallest = 0;
    int largest = 0;
    for (int i = 1; i < 3; ++i) {
        if (w[smallest] > w[i])
            smallest = i;
        if (w[i] > w[largest])
            largest = i;
    }
    const bool isProper = rotation.det3() >= 0;
    const bool isDegenerate = w[smallest] < kDegenerate;
    if (isProper && (!isDegenerate || smallest == largest))
        return rotation;
    if (isDegenerate && smallest != largest) {
        const int middle = 3 - smallest - largest;
        makeCrossProduct(values.left, smallest, largest, middle);
        makeCrossProduct(values.right, smallest, largest, middle);
    } else {
        negate(values.left[smallest]);
    }
    return rotationOf(values);
}

/// The factor that takes the turned points p nearest to the points q.
template <bool Indexed, int Weights>
float bestScale(CentredPairs<Indexed, Weights> centred, const ZtMat4f& rotation) {
    Four rows[3];
    for (int i = 0; i < 3; ++i)
        rows[i] = Four{rotation[i][0], rotation[i][1], rotation[i][2], 0};
    ScaleSums begun;
    if constexpr (!Indexed && Weights == 0)
        centred.pairs.skip(numerics::addBlocks(centred, rows, begun));
    // In the first two: the sums of r q and of r r, each pair's products added up beforehand.
    Four sums = {begun.rq, begun.rr, 0, 0};
    centred.forEach([&](const Four& p, const Four& q) {
        const Four r = spread(p[0]) * rows[0] + spread(p[1]) * rows[1] + spread(p[2]) * rows[2];
        const Four rq = r * q;
        const Four rr = r * r;
        const Four xy = __builtin_shufflevector(rq, rr, 0, 4, 1, 5);
        const Four z = __builtin_shufflevector(rq, rr, 2, 6, 2, 6);
        sums += xy + __builtin_shufflevector(xy, xy, 2, 3, 2, 3) + z;
    });
    return sums[1] == 0 ? 1 : sums[0] / sums[1];
}

template <bool Indexed, int Weights>
ZtMat4f rigidPart(const CentredPairs<Indexed, Weights>& pairs, bool withScale) {
    OuterProducts sums;
    CentredPairs<Indexed, Weights> rest = pairs;
    if constexpr (!Indexed && Weights == 0)
        rest.pairs.skip(numerics::addBlocks(pairs, sums));
    rest.forEach([&](const Four& p, const Four& q) { sums.add(p, q); });
    float matrix[9];
    sums.get(matrix);
    ZtMat4f rotation = bestRotation(matrix);
    if (withScale) {
        const float scale = bestScale(pairs, rotation);
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                rotation[i][j] *= scale;
    }
    return rotation;
}

template <class Pairs>
ZtMat4f affinePart(const Pairs& pairs) {
    OuterProducts normal;
    OuterProducts mixed;
    pairs.forEach([&](const Four& p, const Four& q) {
        normal.add(p, p);
        mixed.add(p, q);
    });
    ZtDMatrix<float> matrix(3, 3);
    normal.get(matrix.dataPtr());
    float columns[3][3];
    for (int j = 0; j < 3; ++j)
        for (int r = 0; r < 3; ++r)
            columns[j][r] = mixed.rows[r][j];
    float* rhs[3] = {columns[0], columns[1], columns[2]};
    ztdmatrix::solveOrThrow(matrix.dataPtr(), 3, rhs, 3);
    ZtMat4f linear = ZtMat4f::identity();
    for (int j = 0; j < 3; ++j)
        for (int r = 0; r < 3; ++r)
            linear[r][j] = columns[j][r];
    return linear;
}

/// Moves `from` to the origin, transforms, and moves the origin to `to`.
ZtMat4f between(const ZtVec3f& from, const ZtMat4f& transform, const ZtVec3f& to) {
    return ZtMat4f().setTranslate(-from) * transform * ZtMat4f().setTranslate(to);
}

ZtVec3f pointOf(const Four& v) {
    return ZtVec3f(v[0], v[1], v[2]);
}

template <bool Indexed, int Weights>
void alignPairs(ZtMat4f& result, const PointPairs<Indexed, Weights>& pairs, int mode) {
    Four sum1 = {};
    Four sum2 = {};
    float weight = 0;
    pairs.forEach([&](int k, const Four& first, const Four& second) {
        if constexpr (Weights == 0) {
            sum1 += first;
            sum2 += second;
        } else {
            const float w = pairs.weight(k);
            weight += w;
            sum1 += first * spread(w);
            sum2 += second * spread(w);
        }
    });
    if constexpr (Weights == 0)
        weight = static_cast<float>(pairs.n > 0 ? pairs.n : 0);
    if (weight == 0) {
        result.makeIdentity();
        return;
    }
    const Four reciprocal = spread(1 / weight);
    const CentredPairs<Indexed, Weights> centred = {pairs, sum1 * reciprocal, sum2 * reciprocal};
    const ZtVec3f from = pointOf(centred.centre2);
    const ZtVec3f to = pointOf(centred.centre1);
    if (mode == kRigid || mode == kRigidWithScale)
        result = between(from, rigidPart(centred, mode == kRigidWithScale), to);
    else if (mode == kAffine)
        result = between(from, affinePart(centred), to);
}

template <bool Indexed, int Weights>
void align(ZtMat4f& result, const ZtVec3f* p1, const ZtVec3f* p2, const int* idx1, const int* idx2,
           const float* w1, const float* w2, int n, int mode, const ZtMat4f* post) {
    static_assert(sizeof(ZtVec3f) == 3 * sizeof(float));
    ZT_REQUIRE(n <= 0 || (p1 && p2));
    ZT_REQUIRE(n <= 0 || !Indexed || (idx1 && idx2));
    ZT_REQUIRE(n <= 0 || ((Weights < 1 || w1) && (Weights < 2 || w2)));
    alignPairs(
        result,
        PointPairs<Indexed, Weights>{reinterpret_cast<const float*>(p1),
                                     reinterpret_cast<const float*>(p2), idx1, idx2, w1, w2, n},
        mode);
    if (post)
        result.multRight(*post);
}

/// The rows of P as second points and those of Q as first ones, centred already; none after a
/// message when the shapes do not fit.
bool hasPairs(const ZtDMatrix<float>& P, const ZtDMatrix<float>& Q, const char* operation) {
    const bool fits =
        P.nRows() == Q.nRows() && (P.nRows() == 0 || (P.nCols() == 3 && Q.nCols() == 3));
    ZT_REQUIRE(fits);
    if (!fits)
        std::fprintf(stderr, "%s: needs two n x 3 matrices, not %dx%d and %dx%d.\n", operation,
                     P.nRows(), P.nCols(), Q.nRows(), Q.nCols());
    return fits;
}

CentredPairs<false, 0> pairsOf(const ZtDMatrix<float>& P, const ZtDMatrix<float>& Q) {
    return {
        {Q.dataPtr(), P.dataPtr(), nullptr, nullptr, nullptr, nullptr, P.nRows()}, Four{}, Four{}};
}

}  // namespace

void ztAlignPointSets(ZtMat4f& result, const ZtVec3f* p1, const ZtVec3f* p2, int n, int mode,
                      const ZtMat4f* post) {
    align<false, 0>(result, p1, p2, nullptr, nullptr, nullptr, nullptr, n, mode, post);
}

void ztAlignPointSets(ZtMat4f& result, const ZtVec3f* p1, const ZtVec3f* p2, const int* idx1,
                      const int* idx2, int n, int mode, const ZtMat4f* post) {
    align<true, 0>(result, p1, p2, idx1, idx2, nullptr, nullptr, n, mode, post);
}

void ztAlignPointSets(ZtMat4f& result, const ZtVec3f* p1, const ZtVec3f* p2, const float* weights,
                      int n, int mode, const ZtMat4f* post) {
    align<false, 1>(result, p1, p2, nullptr, nullptr, weights, nullptr, n, mode, post);
}

void ztAlignPointSets(ZtMat4f& result, const ZtVec3f* p1, const ZtVec3f* p2, const float* w1,
                      const float* w2, int n, int mode, const ZtMat4f* post) {
    align<false, 2>(result, p1, p2, nullptr, nullptr, w1, w2, n, mode, post);
}

void ztAlignPointSets(ZtMat4f& result, const ZtVec3f* p1, const ZtVec3f* p2, const int* idx1,
                      const int* idx2, const float* weights, int n, int mode, const ZtMat4f* post) {
    align<true, 1>(result, p1, p2, idx1, idx2, weights, nullptr, n, mode, post);
}

void ztAlignPointSets(ZtMat4f& result, const ZtVec3f* p1, const ZtVec3f* p2, const int* idx1,
                      const int* idx2, const float* w1, const float* w2, int n, int mode,
                      const ZtMat4f* post) {
    align<true, 2>(result, p1, p2, idx1, idx2, w1, w2, n, mode, post);
}

void ztCompRigidTransform(const ZtDMatrix<float>& P, const ZtDMatrix<float>& Q, const ZtVec3f& cP,
                          const ZtVec3f& cQ, ZtMat4f& result, int withScale) {
    if (hasPairs(P, Q, "ztCompRigidTransform"))
        result = between(cP, rigidPart(pairsOf(P, Q), withScale == 1), cQ);
}

void ztCompAffineTransform(const ZtDMatrix<float>& P, const ZtDMatrix<float>& Q, const ZtVec3f& cP,
                           const ZtVec3f& cQ, ZtMat4f& result) {
    if (hasPairs(P, Q, "ztCompAffineTransform"))
        result = between(cP, affinePart(pairsOf(P, Q)), cQ);
}
