// A sphere in space.
#pragma once

#include <ztlib/ZtBox3f.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtVec3f.h>

class ZtLine;

/// A centre and a radius. A negative radius marks the empty sphere, which nothing intersects. A
/// plain value: no heap, trivially copyable, empty until set. Intersections are computed in double
/// precision.
class ZTLIB_API ZtSphere {
public:
    ZtSphere() = default;
    /// A sphere; one of a negative radius is empty.
    ZtSphere(const ZtVec3f& center, float radius) : center_(center), radius_(radius) {}

    /// Sets centre and radius, or the radius alone; a negative one makes the sphere empty.
    void setValue(const ZtVec3f& center, float radius) { *this = ZtSphere(center, radius); }
    void setRadius(float radius) { radius_ = radius; }
    /// The centre and the radius.
    const ZtVec3f& getCenter() const { return center_; }
    float getRadius() const { return radius_; }

    /// Whether no point lies within: the radius is negative.
    bool isEmpty() const { return radius_ < 0; }
    bool isNotEmpty() const { return !isEmpty(); }
    /// Whether no value is NaN and the radius is not negative.
    bool isConsistent() const { return isNumber() && radius_ >= 0; }
    /// Whether no value is NaN.
    bool isNumber() const;
    bool isNoNumber() const { return !isNumber(); }
    /// Centre (0, 0, 0) and radius -1.
    void makeEmpty() { *this = ZtSphere(); }
    /// A shared empty sphere.
    static const ZtSphere& emptySphere();

    /// The smallest sphere about a box: through its corners. Empty if the box is.
    void circumscribe(const ZtBox3f& box);

    /// The first intersection that is not behind the ray's position: the far one from inside. On a
    /// miss the output is left as it is, here and below.
    bool intersect(const ZtLine& line, ZtVec3f& point) const;
    /// Both intersections of the whole line, in its direction.
    bool intersect(const ZtLine& line, ZtVec3f& enter, ZtVec3f& exit) const;
    /// The same for the line from p0 towards p1; false if they are equal.
    bool intersect(const ZtVec3f& p0, const ZtVec3f& p1, ZtVec3f& enter, ZtVec3f& exit) const;

private:
    ZtVec3f center_;
    float radius_ = -1;
};
