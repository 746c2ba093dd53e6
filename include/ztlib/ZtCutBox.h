// The polygon in which a plane cuts a box, the template behind ZtCutBoxPlane and
// ZtCutBoxPlaneDouble.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtVec3.h>
#include <ztlib/ZtVec3d.h>

#include <cmath>

/// How a plane cuts a box: how many edges (0 or 3 to 6) and which, in the order of the polygon. An
/// edge from corner B to the higher corner A, which differ in one bit, is 8 A + B.
struct ZtCutBoxCase {
    /// How many vertices the polygon has, and the box edge that each lies on.
    unsigned char count;
    unsigned char edges[6];
};

/// The case of a set of corners, bit k standing for corner k. Expects 0 <= corners < 128: a set
/// without corner 7. Sets that no plane can separate from the rest have a count of 0 or, some of
/// them, edges in no particular order.
ZTLIB_API const ZtCutBoxCase& ztCutBoxCase(int corners);

/// An axis-aligned box and a normal, made ready for planes at any distance: `cutPlane` gives the
/// polygon in which the plane normal . x = d cuts the box, and on request the points of a second
/// box (for example of texture coordinates) that correspond to its vertices. The work for the
/// corners is done once. A plain value: no heap, trivially copyable.
///
/// A box is six numbers xmin, xmax, ymin, ymax, zmin, zmax. The normal may have any length; d is
/// measured in that. Corners with a value of exactly d count as on the positive side. Whether the
/// polygon winds with the normal or against it differs from case to case; look where it matters. A
/// plane through a corner can give equal vertices.
template <class T>
class ZtCutBox {
public:
    /// A point in the precision of the plane.
    using Vec = ZtVec3<T>;

    /// The unit box and the normal (1, 0, 0).
    ZtCutBox() { init(Vec(0, 0, 0), Vec(1, 1, 1), Vec(1, 0, 0)); }
    ZtCutBox(const T* box, const Vec& normal) { init(box, normal); }
    ZtCutBox(const T* box, const T* box2, const Vec& normal) { init(box, box2, normal); }
    ZtCutBox(const Vec& min, const Vec& max, const Vec& normal) { init(min, max, normal); }

    /// Without a second box the first one serves as that, too.
    void init(const T* box, const Vec& normal) { init(box, box, normal); }
    void init(const Vec& min, const Vec& max, const Vec& normal) {
        const T box[6] = {min.x, max.x, min.y, max.y, min.z, max.z};
        init(box, normal);
    }
    void init(const T* box, const T* box2, const Vec& normal) {
        normal_ = normal;
        for (int i = 0; i < 6; ++i)
            box_[i] = box[i];
        for (int k = 0; k < 8; ++k) {
            corners_[k] = cornerOf(box, k);
            corners2_[k] = cornerOf(box2, k);
            values_[k] = normal.dot(corners_[k]);
        }
    }

    /// The box, six numbers, and the normal as they were given.
    const T* getBox() const { return box_; }
    const Vec& getNormal() const { return normal_; }

    /// Writes the polygon's vertices and returns their number, 0 or 3 to 6. Expects room for six.
    int cutPlane(T d, Vec* vertices) const {
        return forEachEdge(d, [&](int vertex, int a, int b, T t) {
            vertices[vertex] = corners_[b] * (1 - t) + corners_[a] * t;
        });
    }
    /// Also writes the corresponding points of the second box. Expects room for six in both.
    int cutPlane(T d, Vec* vertices, Vec* vertices2) const {
        return forEachEdge(d, [&](int vertex, int a, int b, T t) {
            vertices[vertex] = corners_[b] + (corners_[a] - corners_[b]) * t;
            vertices2[vertex] = corners2_[b] + (corners2_[a] - corners2_[b]) * t;
        });
    }
    /// The same for the plane through `point`.
    int cutPlane(const Vec& point, Vec* vertices) const {
        return cutPlane(distanceOf(point), vertices);
    }
    int cutPlane(const Vec& point, Vec* vertices, Vec* vertices2) const {
        return cutPlane(distanceOf(point), vertices, vertices2);
    }

private:
    static Vec cornerOf(const T* box, int k) {
        return Vec(box[k & 1], box[2 + (k >> 1 & 1)], box[4 + (k >> 2 & 1)]);
    }

    T distanceOf(const Vec& point) const {
        return static_cast<T>(ZtVec3d(normal_).dot(ZtVec3d(point)));
    }

    // Calls f(vertex, A, B, t) for the edges that are cut, in the polygon's order: t is the
    // vertex's way from corner B to corner A.
    template <class F>
    int forEachEdge(T d, F f) const {
        int below = 0;  // the corners on the negative side
        for (int k = 0; k < 8; ++k)
            below |= (d > values_[k] ? 1 : 0) << k;
        // The corners on the other side have the same edges.
        const ZtCutBoxCase& row = ztCutBoxCase(below > 127 ? below ^ 255 : below);
        for (int i = 0; i < row.count; ++i) {
            const int a = row.edges[i] >> 3;
            const int b = row.edges[i] & 7;
            const double span = std::abs(double(values_[a]) - double(values_[b]));
            const T t = span < 1e-8 ? T(0.5) : (d - values_[b]) / (values_[a] - values_[b]);
            f(i, a, b, t);
        }
        return row.count;
    }

    T values_[8];  // normal . corner
    Vec normal_;
    T box_[6];
    Vec corners_[8];
    Vec corners2_[8];
};
