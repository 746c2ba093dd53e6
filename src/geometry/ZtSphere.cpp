#include <ztlib/ZtLine.h>
#include <ztlib/ZtSphere.h>
#include <ztlib/ZtVec3d.h>

#include <cmath>

#include "QuietNaN.h"

namespace {

// The parameters, in order, at which a whole line meets the sphere; false if it misses. Half the
// chord comes from the line's distance to the centre, which is exact far away, too, where the usual
// discriminant is a difference of large numbers.
bool meet(const ZtSphere& sphere, const ZtLine& line, double& first, double& last) {
    if (sphere.isEmpty())
        return false;
    const ZtVec3d direction(line.getDirection());
    const ZtVec3d v = ZtVec3d(line.getPosition()) - ZtVec3d(sphere.getCenter());
    const double scale = direction.length2();  // 1 but for rounding
    const double radius = sphere.getRadius();
    const double quarter = radius * radius * scale - direction.cross(v).length2();
    if (!(quarter >= 0 && scale > 0))
        return false;
    const double middle = -direction.dot(v);
    first = (middle - std::sqrt(quarter)) / scale;
    last = (middle + std::sqrt(quarter)) / scale;
    return true;
}

ZtVec3f pointAt(const ZtLine& line, double t) {
    return ZtVec3f(ZtVec3d(line.getPosition()) + ZtVec3d(line.getDirection()) * t);
}

}  // namespace

bool ZtSphere::isNumber() const {
    return !hasNaN(center_) && !std::isnan(radius_);
}

const ZtSphere& ZtSphere::emptySphere() {
    static const ZtSphere sphere;
    return sphere;
}

void ZtSphere::circumscribe(const ZtBox3f& box) {
    if (box.isEmpty())
        return makeEmpty();
    const ZtVec3d low(box.corner(0));
    const ZtVec3d high(box.corner(7));
    center_ = ZtVec3f((low + high) * 0.5);
    radius_ = static_cast<float>((high - ZtVec3d(center_)).length());
}

bool ZtSphere::intersect(const ZtLine& line, ZtVec3f& point) const {
    double first;
    double last;
    if (!meet(*this, line, first, last) || last < 0)
        return false;
    point = pointAt(line, first < 0 ? last : first);
    return true;
}

bool ZtSphere::intersect(const ZtLine& line, ZtVec3f& enter, ZtVec3f& exit) const {
    const ZtLine copy = line;
    double first;
    double last;
    if (!meet(*this, copy, first, last))
        return false;
    enter = pointAt(copy, first);
    exit = pointAt(copy, last);
    return true;
}

bool ZtSphere::intersect(const ZtVec3f& p0, const ZtVec3f& p1, ZtVec3f& enter,
                         ZtVec3f& exit) const {
    return intersect(ZtLine(p0, p1), enter, exit);
}
