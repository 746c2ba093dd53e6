// A ray or line in space.
#pragma once

#include <ztlib/ZtBox3f.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtVec3f.h>

class ZtMat4f;

/// A position and a unit direction: a ray in the picking queries `intersect`, where what lies
/// behind the position does not count, and a whole line in the closest-point queries. A plain
/// value: no heap, trivially copyable, NaN until set. Queries are computed in double precision; a
/// direction that a transform left longer or shorter than 1 is taken for what it points at.
///
/// The tolerance of picking: a negative one is the radius of a cylinder about the ray, one that is
/// not negative the tangent of the half-angle of a cone with its tip at the position (0 hits
/// nothing).
class ZTLIB_API ZtLine {
public:
    ZtLine() { makeNaN(); }
    /// From p0 towards p1; NaN if they are equal.
    ZtLine(const ZtVec3f& p0, const ZtVec3f& p1) { setValue(p0, p1); }

    /// Makes it the line through two points, as the constructor does.
    void setValue(const ZtVec3f& p0, const ZtVec3f& p1);
    /// The direction is normalised; (0, 0, 0) stays.
    void setPosDir(const ZtVec3f& pos, const ZtVec3f& dir);

    /// A point of the line, and its direction.
    const ZtVec3f& getPosition() const { return position_; }
    const ZtVec3f& getDirection() const { return direction_; }

    /// The point of the whole line that is closest to p.
    ZtVec3f getClosestPoint(const ZtVec3f& p) const;
    /// The points in which two whole lines come closest. NaN, and false, if they are parallel.
    bool getClosestPoints(const ZtLine& other, ZtVec3f& onThis, ZtVec3f& onOther) const;

    /// Picks a point: whether it lies in front of the position and within the tolerance.
    bool intersect(float tolerance, const ZtVec3f& point) const;
    /// Picks the segment from e0 to e1: `pt` is its point closest to the line, NaN on a miss. A
    /// segment parallel to the ray is never hit.
    bool intersect(float tolerance, const ZtVec3f& e0, const ZtVec3f& e1, ZtVec3f& pt) const;
    /// Picks a box: whether the ray passes through it or picks one of its edges. False if it is
    /// empty.
    bool intersect(float tolerance, const ZtBox3f& box) const;
    /// Where the line enters and leaves a box, both NaN on a miss; the entry lies behind the
    /// position if that is inside. A ray that leaves before its position misses. `tolerance` is how
    /// much the entry's parameter may exceed the exit's.
    bool intersect(const ZtBox3f& box, ZtVec3f& enter, ZtVec3f& exit, float tolerance = 0) const;
    /// Hits the triangle, its edges included: `barycentric` are the weights of p0, p1 and p2 that
    /// give `point`; `front` tells whether the ray runs against (p2 - p1) x (p1 - p0), so that a
    /// triangle that appears counter-clockwise shows its back. Only `front`, false, is written on a
    /// miss.
    bool intersect(const ZtVec3f& p0, const ZtVec3f& p1, const ZtVec3f& p2, ZtVec3f& point,
                   ZtVec3f& barycentric, bool& front) const;

    /// Transforms the position as a point and the direction as a direction, whose length changes
    /// with the scale.
    void transform(const ZtMat4f& m);

    /// Whether no value is NaN.
    bool isNumber() const;
    bool isNoNumber() const { return !isNumber(); }
    void makeNaN();
    /// The same: a line has no other empty state.
    void makeEmpty() { makeNaN(); }

private:
    struct Span;
    bool spanInside(const ZtBox3f& box, double tolerance, Span& span) const;

    ZtVec3f position_;
    ZtVec3f direction_;
};
