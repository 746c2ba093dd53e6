#include <ztlib/ZtLine.h>
#include <ztlib/ZtMat4f.h>
#include <ztlib/ZtVec3d.h>

#include <algorithm>
#include <cmath>

#include "QuietNaN.h"

namespace {

// The parameters at which the lines p + t a and q + u b come closest; false if they are parallel.
// Written with cross products, which lose no digits where the lines are nearly parallel.
bool closestParameters(const ZtVec3d& p, const ZtVec3d& a, const ZtVec3d& q, const ZtVec3d& b,
                       double& t, double& u) {
    const ZtVec3d c = a.cross(b);
    const double denominator = c.length2();
    if (!(denominator > 0))
        return false;
    const ZtVec3d between = q - p;
    t = between.cross(b).dot(c) / denominator;
    u = between.cross(a).dot(c) / denominator;
    return true;
}

// Whether a distance from the ray, at a distance from its position, is within the tolerance.
bool isWithin(float tolerance, double fromRay, double fromPosition) {
    return tolerance < 0 ? fromRay < -double(tolerance) : fromRay / fromPosition < tolerance;
}

}  // namespace

void ZtLine::setValue(const ZtVec3f& p0, const ZtVec3f& p1) {
    ZtVec3d direction = ZtVec3d(p1) - ZtVec3d(p0);
    if (direction.normalize() == 0)
        return makeNaN();
    position_ = p0;
    direction_ = ZtVec3f(direction);
}

void ZtLine::setPosDir(const ZtVec3f& pos, const ZtVec3f& dir) {
    position_ = pos;
    direction_ = dir;
    direction_.normalize();
}

ZtVec3f ZtLine::getClosestPoint(const ZtVec3f& p) const {
    const ZtVec3d position(position_);
    const ZtVec3d direction(direction_);
    const double squared = direction.length2();
    const double t = squared == 0 ? 0 : direction.dot(ZtVec3d(p) - position) / squared;
    return ZtVec3f(position + direction * t);
}

bool ZtLine::getClosestPoints(const ZtLine& other, ZtVec3f& onThis, ZtVec3f& onOther) const {
    const ZtVec3d p(position_), a(direction_), q(other.position_), b(other.direction_);
    double t;
    double u;
    if (!closestParameters(p, a, q, b, t, u)) {
        onThis = onOther = vectorOfNaN();
        return false;
    }
    onThis = ZtVec3f(p + a * t);
    onOther = ZtVec3f(q + b * u);
    return true;
}

bool ZtLine::intersect(float tolerance, const ZtVec3f& point) const {
    ZtVec3d direction(direction_);
    direction.normalize();
    const ZtVec3d v = ZtVec3d(point) - ZtVec3d(position_);
    const double t = direction.dot(v);
    // |v x dir| is the square root of |v|^2 - t^2 without the difference of large numbers.
    return t > 0 && isWithin(tolerance, direction.cross(v).length(), t);
}

bool ZtLine::intersect(float tolerance, const ZtVec3f& e0, const ZtVec3f& e1, ZtVec3f& pt) const {
    const ZtVec3d p(position_), a(direction_), q(e0), end(e1), b(end - q);
    pt = vectorOfNaN();
    double t;
    double u;
    if (!closestParameters(p, a, q, b, t, u) || t < 0)
        return false;
    const ZtVec3d onLine = p + a * t;
    const ZtVec3d onSegment = u < 0 ? q : u > 1 ? end : q + b * u;
    if (!isWithin(tolerance, (onSegment - onLine).length(), (onLine - p).length()))
        return false;
    pt = ZtVec3f(onSegment);
    return true;
}

// The parameters at which the line enters and leaves a box.
struct ZtLine::Span {
    double enter = -1e38;
    double exit = 1e38;
};

bool ZtLine::spanInside(const ZtBox3f& box, double tolerance, Span& span) const {
    if (box.isEmpty() || isNoNumber())
        return false;
    for (int axis = 0; axis < 3; ++axis) {
        const double position = position_[axis];
        const double direction = direction_[axis];
        const double low = box[2 * axis];
        const double high = box[2 * axis + 1];
        if (std::abs(direction) <= 1e-6) {
            if (position < low || position > high)
                return false;
            continue;
        }
        const auto [first, last] =
            std::minmax({(low - position) / direction, (high - position) / direction});
        span.enter = std::max(span.enter, first);
        span.exit = std::min(span.exit, last);
    }
    return span.enter <= span.exit + tolerance && span.exit >= 0;
}

bool ZtLine::intersect(float tolerance, const ZtBox3f& box) const {
    Span span;
    if (spanInside(box, 0, span))
        return true;
    if (box.isEmpty())
        return false;
    for (int k = 0; k < 8; ++k) {
        for (const int axis : {1, 2, 4}) {
            ZtVec3f point;
            if (!(k & axis) && intersect(tolerance, box.corner(k), box.corner(k | axis), point))
                return true;
        }
    }
    return false;
}

bool ZtLine::intersect(const ZtBox3f& box, ZtVec3f& enter, ZtVec3f& exit, float tolerance) const {
    Span span;
    if (!spanInside(box, tolerance, span)) {
        enter = exit = vectorOfNaN();
        return false;
    }
    enter = ZtVec3f(ZtVec3d(position_) + ZtVec3d(direction_) * span.enter);
    exit = ZtVec3f(ZtVec3d(position_) + ZtVec3d(direction_) * span.exit);
    return true;
}

bool ZtLine::intersect(const ZtVec3f& p0, const ZtVec3f& p1, const ZtVec3f& p2, ZtVec3f& point,
                       ZtVec3f& barycentric, bool& front) const {
    constexpr double kTiny = 1e-10;
    front = false;
    const ZtVec3d origin(p0);
    const ZtVec3d edge1 = ZtVec3d(p1) - origin;
    const ZtVec3d edge2 = ZtVec3d(p2) - origin;
    ZtVec3d normal = (ZtVec3d(p2) - ZtVec3d(p1)).cross(edge1);
    if (!(normal.normalize() >= kTiny))
        return false;
    const ZtVec3d position(position_);
    const ZtVec3d direction(direction_);
    const double slope = direction.dot(normal);
    if (!(std::abs(slope) >= kTiny))
        return false;
    const double t = (origin - position).dot(normal) / slope;
    if (t < 0)
        return false;

    // In the coordinate plane on which the triangle casts its largest shadow.
    const double nx = std::abs(normal.x), ny = std::abs(normal.y), nz = std::abs(normal.z);
    const int dropped = nx > ny && nx > nz ? 0 : ny > nz ? 1 : 2;
    const int first = dropped == 0 ? 1 : 0;
    const int second = dropped == 2 ? 1 : 2;
    const ZtVec3d hit = position + direction * t - origin;
    const double gamma = (edge1[first] * hit[second] - edge1[second] * hit[first]) /
                         (edge1[first] * edge2[second] - edge1[second] * edge2[first]);
    if (!(gamma >= 0 && gamma <= 1))
        return false;
    const int divisor = std::abs(edge1[second]) > kTiny ? second : first;
    const double beta = (hit[divisor] - gamma * edge2[divisor]) / edge1[divisor];
    if (!(beta >= 0 && beta + gamma <= 1))
        return false;
    barycentric = ZtVec3f(ZtVec3d(1 - beta - gamma, beta, gamma));
    front = slope < 0;
    point = ZtVec3f(position + direction * t);
    return true;
}

void ZtLine::transform(const ZtMat4f& m) {
    m.multVecMatrix(position_, position_);
    m.multDirMatrix(direction_, direction_);
}

bool ZtLine::isNumber() const {
    return !hasNaN(position_) && !hasNaN(direction_);
}

void ZtLine::makeNaN() {
    position_ = direction_ = vectorOfNaN();
}
