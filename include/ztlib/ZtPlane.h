// An oriented plane in space.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtVec3f.h>

class ZtLine;
class ZtMat4f;

/// The points x with normal . x = d, the normal being a unit vector; the positive half-space is
/// normal . x >= d. The empty plane has normal (0, 0, 0) and d = 0. Points are rows, so a
/// transform's image of x is x M. A plain value: no heap, trivially copyable, empty until set.
/// Results are computed in double precision and rounded once.
class ZTLIB_API ZtPlane {
public:
    ZtPlane() = default;
    /// Normalises the normal, but not d: (0, 0, 2) and 4 is the plane z = 4. Empty if the normal is
    /// 0.
    ZtPlane(const ZtVec3f& normal, float d) { set(normal, d); }
    /// The plane through `point`. Empty if the normal is 0.
    ZtPlane(const ZtVec3f& normal, const ZtVec3f& point) { set(normal, point); }
    /// The plane through three points, counter-clockwise as seen from the positive half-space.
    /// Empty if they lie on a line.
    ZtPlane(const ZtVec3f& p0, const ZtVec3f& p1, const ZtVec3f& p2) { set(p0, p1, p2); }

    /// Makes it the plane that the constructor of the same arguments makes.
    void set(const ZtVec3f& normal, float d);
    void set(const ZtVec3f& normal, const ZtVec3f& point);
    void set(const ZtVec3f& p0, const ZtVec3f& p1, const ZtVec3f& p2);

    /// The unit normal.
    const ZtVec3f& getNormal() const { return normal_; }
    /// Replaces the normal by one that is taken as it is, of whatever length.
    void setNormal(const ZtVec3f& normal) { normal_ = normal; }
    /// The distance of the plane from the origin, d.
    float getDistance() const { return d_; }
    /// Moves the plane along its normal.
    void offset(float delta) { d_ += delta; }

    /// The signed distance of a point, positive in the positive half-space.
    float getDistance(const ZtVec3f& p) const;
    /// Whether normal . p >= d, both as floats: true for the point that the plane was set through,
    /// and for every point if the plane is empty.
    bool isInHalfSpace(const ZtVec3f& p) const;
    /// The point of the plane that is closest to p.
    ZtVec3f getProjectedPoint(const ZtVec3f& p) const;

    /// Turns the plane over: negates the normal and d.
    void revertOrientation();
    /// Moves the plane to where m takes its points. The positive half-space goes along. Expects an
    /// invertible matrix.
    void transform(const ZtMat4f& m);
    /// Moves the plane to where the inverse of m takes its points, without inverting m.
    void transformInv(const ZtMat4f& m);

    /// Cuts the whole line, also behind its position: `point` is pos + dir t, `t` (may be null)
    /// receives its parameter. If the line is parallel (normal . dir is exactly 0), `point` becomes
    /// NaN, `t` stays and the result is false.
    bool intersect(const ZtLine& line, ZtVec3f& point, float* t = nullptr) const;
    /// The line common to both planes, in the direction of this normal x the other. NaN, and false,
    /// if the cross product is shorter than 1e-5.
    bool intersect(const ZtPlane& other, ZtLine& line) const;

    /// Whether d or the normal is not a number, or the normal's squared length lies outside 0.999
    /// to 1.001.
    bool isEmpty() const;
    bool isValid() const { return !isEmpty(); }
    /// Whether no value is NaN.
    bool isNumber() const;
    bool isNoNumber() const { return !isNumber(); }
    void makeNaN();
    void makeEmpty() { *this = ZtPlane(); }
    /// A shared empty plane.
    static const ZtPlane& emptyPlane();

    /// Whether the normal and n enclose at most 0.001 radians. Opposite directions count as equal
    /// unless `orientation` is true.
    bool isNearEqualNormal(const ZtVec3f& n, bool orientation) const;
    /// Whether the normals enclose at most `angleTol` radians, opposite directions counting as
    /// equal unless `orientation` is true, and the points of both planes closest to `center` are at
    /// most `distTol` apart. An empty plane is near to none.
    bool isNearEqualInROI(const ZtPlane& other, const ZtVec3f& center, float distTol,
                          float angleTol, bool orientation) const;

private:
    ZtVec3f normal_;
    float d_ = 0;
};
