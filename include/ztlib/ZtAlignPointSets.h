// Aligning one set of points with another: the transform that maps it best onto the other one.
#pragma once

#include <ztlib/ZtDMatrix.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtMat4f.h>
#include <ztlib/ZtVec3f.h>

/// The least-squares transform of pairs of points: `result` maps the second set onto the first, so
/// that p2[k] times `result` is about p1[k] (points are rows, v' = v M). `mode` 0 takes a rotation
/// and a translation, 1 also one scale for all directions, 2 any affine transform; with any other
/// mode the matrix stays as it was on entry. At last, if `post` is not null, `result` is multiplied
/// by it from the right, so that it is applied after the alignment; `post` may point at `result`.
///
/// Modes 0 and 1 take the rotation from the singular value decomposition of the sum of (p2 - c2)^T
/// (p1 - c1), c1 and c2 being the centroids (Arun, Huang, Blostein 1987; the repair of reflections:
/// Umeyama 1991). It is a proper rotation always, for mirrored, coplanar, collinear and coincident
/// points, too, and then one of the best. Mode 2 solves the normal equations by
/// ZtDMatrix::solveLRdecomp, which says on standard error when the points are coplanar; their
/// right-hand sides then take the place of the linear part.
///
/// The sums over the points are in single precision, in the order of the pairs: `n` above some
/// millions or coordinates far from the origin cost digits. Takes time in proportion to `n` and, in
/// modes 0 and 1, no memory; mode 2 throws ZtMemoryException without it. Without pairs (`n` below
/// 1), or where weights sum to exactly 0, the transform is the identity, whatever the mode. Points
/// that coincide have scale 1.
ZTLIB_API void ztAlignPointSets(ZtMat4f& result, const ZtVec3f* p1, const ZtVec3f* p2, int n,
                                int mode, const ZtMat4f* post = nullptr);

/// The same for the pairs (p1[idx1[k]], p2[idx2[k]]). Expects indices that are not negative.
ZTLIB_API void ztAlignPointSets(ZtMat4f& result, const ZtVec3f* p1, const ZtVec3f* p2,
                                const int* idx1, const int* idx2, int n, int mode,
                                const ZtMat4f* post);

/// The same with a weight for each pair. The centroids are weighted means, and the points of the
/// second set, not those of the first one, are multiplied by the weights when the sums are taken:
/// mode 0 minimises the weighted squares of the distances, while a common factor f of all weights
/// divides the scale of mode 1 and the linear part of mode 2 by f. Weights may be negative.
ZTLIB_API void ztAlignPointSets(ZtMat4f& result, const ZtVec3f* p1, const ZtVec3f* p2,
                                const float* weights, int n, int mode, const ZtMat4f* post);

/// The same with a weight for each point; pair k weighs w1[k] * w2[k].
ZTLIB_API void ztAlignPointSets(ZtMat4f& result, const ZtVec3f* p1, const ZtVec3f* p2,
                                const float* w1, const float* w2, int n, int mode,
                                const ZtMat4f* post);

/// Indices, and a weight for each pair: pair k weighs weights[k].
ZTLIB_API void ztAlignPointSets(ZtMat4f& result, const ZtVec3f* p1, const ZtVec3f* p2,
                                const int* idx1, const int* idx2, const float* weights, int n,
                                int mode, const ZtMat4f* post);

/// Indices, and a weight for each point: pair k weighs w1[idx1[k]] * w2[idx2[k]].
ZTLIB_API void ztAlignPointSets(ZtMat4f& result, const ZtVec3f* p1, const ZtVec3f* p2,
                                const int* idx1, const int* idx2, const float* w1, const float* w2,
                                int n, int mode, const ZtMat4f* post);

/// The rotation, with a scale if `withScale` is 1, that maps the rows of `P` best onto those of
/// `Q`: n x 3 matrices of points less their centroids `cP` and `cQ`. As a transform of the points
/// themselves: x' = (x - cP) R s + cQ. Expects matrices of these shapes; with others it says so on
/// standard error and leaves `result` alone.
ZTLIB_API void ztCompRigidTransform(const ZtDMatrix<float>& P, const ZtDMatrix<float>& Q,
                                    const ZtVec3f& cP, const ZtVec3f& cQ, ZtMat4f& result,
                                    int withScale);

/// The same with any 3 x 3 matrix in place of R s.
ZTLIB_API void ztCompAffineTransform(const ZtDMatrix<float>& P, const ZtDMatrix<float>& Q,
                                     const ZtVec3f& cP, const ZtVec3f& cQ, ZtMat4f& result);
