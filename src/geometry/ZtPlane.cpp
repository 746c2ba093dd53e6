#include <ztlib/ZtLine.h>
#include <ztlib/ZtMat4f.h>
#include <ztlib/ZtPlane.h>
#include <ztlib/ZtVec3d.h>

#include <cmath>

#include "QuietNaN.h"

namespace {

double dot(const ZtVec3f& a, const ZtVec3f& b) {
    return ZtVec3d(a).dot(ZtVec3d(b));
}

// The angle between two directions of any length, of their lines if `orientation` is false. NaN if
// one has no direction.
double angleBetween(const ZtVec3f& a, const ZtVec3f& b, bool orientation) {
    const double sine = ZtVec3d(a).cross(ZtVec3d(b)).length();
    const double cosine = dot(a, b);
    if (sine == 0 && cosine == 0)
        return quietNaN();
    return std::atan2(sine, orientation ? cosine : std::abs(cosine));
}

}  // namespace

void ZtPlane::set(const ZtVec3f& normal, float d) {
    normal_ = normal;
    d_ = d;
    if (normal_.normalize() == 0)
        makeEmpty();
}

void ZtPlane::set(const ZtVec3f& normal, const ZtVec3f& point) {
    set(normal, 0.0f);
    d_ = static_cast<float>(dot(normal_, point));
}

void ZtPlane::set(const ZtVec3f& p0, const ZtVec3f& p1, const ZtVec3f& p2) {
    const ZtVec3d origin(p0);
    ZtVec3d normal = (ZtVec3d(p1) - origin).cross(ZtVec3d(p2) - origin);
    normal.normalize();  // which may be too long or too short for floats before
    set(ZtVec3f(normal), p0);
}

float ZtPlane::getDistance(const ZtVec3f& p) const {
    return static_cast<float>(dot(normal_, p) - d_);
}

bool ZtPlane::isInHalfSpace(const ZtVec3f& p) const {
    return static_cast<float>(dot(normal_, p)) >= d_;
}

ZtVec3f ZtPlane::getProjectedPoint(const ZtVec3f& p) const {
    return ZtVec3f(ZtVec3d(p) - ZtVec3d(normal_) * (dot(normal_, p) - d_));
}

void ZtPlane::revertOrientation() {
    normal_ = -normal_;
    d_ = -d_;
}

void ZtPlane::transform(const ZtMat4f& m) {
    ZtVec3f point = normal_ * d_;
    m.inverse().transpose().multDirMatrix(normal_, normal_);
    m.multVecMatrix(point, point);
    set(normal_, point);
}

void ZtPlane::transformInv(const ZtMat4f& m) {
    double image[4];
    for (int i = 0; i < 4; ++i)
        image[i] = dot(ZtVec3f(m[i]), normal_) - double(m[i][3]) * d_;
    ZtVec3d normal(image[0], image[1], image[2]);
    const double length = normal.normalize();
    if (length == 0)
        return makeEmpty();
    normal_ = ZtVec3f(normal);
    d_ = static_cast<float>(-image[3] / length);
}

bool ZtPlane::intersect(const ZtLine& line, ZtVec3f& point, float* t) const {
    const ZtVec3f position = line.getPosition();
    const ZtVec3f direction = line.getDirection();
    const double slope = dot(normal_, direction);
    if (slope == 0) {
        point = vectorOfNaN();
        return false;
    }
    const double parameter = (dot(normal_, position) - d_) * (-1 / slope);
    point = ZtVec3f(ZtVec3d(position) + ZtVec3d(direction) * parameter);
    if (t)
        *t = static_cast<float>(parameter);
    return true;
}

bool ZtPlane::intersect(const ZtPlane& other, ZtLine& line) const {
    const ZtVec3d n1(normal_);
    const ZtVec3d n2(other.normal_);
    const ZtVec3d along = n1.cross(n2);
    if (!(along.length() >= 1e-5)) {
        line.makeNaN();
        return false;
    }
    const ZtVec3d position =
        (n2.cross(along) * double(d_) + along.cross(n1) * double(other.d_)) / along.length2();
    line.setPosDir(ZtVec3f(position), ZtVec3f(along));
    return true;
}

bool ZtPlane::isEmpty() const {
    const double squared = dot(normal_, normal_);
    return std::isnan(d_) || !(squared >= 0.999 && squared <= 1.001);
}

bool ZtPlane::isNumber() const {
    return !hasNaN(normal_) && !std::isnan(d_);
}

void ZtPlane::makeNaN() {
    normal_ = vectorOfNaN();
    d_ = quietNaN();
}

const ZtPlane& ZtPlane::emptyPlane() {
    static const ZtPlane plane;
    return plane;
}

bool ZtPlane::isNearEqualNormal(const ZtVec3f& n, bool orientation) const {
    return angleBetween(normal_, n, orientation) <= 1e-3;
}

bool ZtPlane::isNearEqualInROI(const ZtPlane& other, const ZtVec3f& center, float distTol,
                               float angleTol, bool orientation) const {
    const ZtVec3d apart(getProjectedPoint(center) - other.getProjectedPoint(center));
    return apart.length() <= distTol &&
           angleBetween(normal_, other.normal_, orientation) <= angleTol;
}
