#include <ztlib/ZtRotation.h>
#include <ztlib/ZtVec3d.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "VectorTypes.h"

namespace {

constexpr double kTiny = 1e-5;  // a sine or chord below which an axis is not resolved

// Horner's rule, lane by lane, the coefficients from the constant one on.
template <std::size_t N>
[[gnu::always_inline]] inline void polynomial(const TwoDoubles (&coefficients)[N],
                                              const TwoDoubles& x, TwoDoubles& value) {
    value = coefficients[N - 1];
    for (std::size_t i = N - 1; i-- > 0;)
        value = value * x + coefficients[i];
}

// acos(x) for 0 <= x <= 1: the square root of 1 - x times a polynomial that interpolates the rest
// at Chebyshev's points, to 6e-11 of the value. A float's rounding is a thousand times that. Even
// and odd powers are summed side by side.
double arcCosine(double x) {
    static constexpr TwoDoubles kCoefficients[] = {{1.5707963267030993, -0.21460181431005342},
                                                   {0.089047715115689882, -0.050778185522525654},
                                                   {0.033558020283266241, -0.023752501853162977},
                                                   {0.016640035211437931, -0.010349789939412923},
                                                   {0.0049877136042259171, -0.0015664288135807937},
                                                   {0.00023247194405484678, 0}};
    const double square = x * x;
    TwoDoubles sums;
    polynomial(kCoefficients, TwoDoubles{square, square}, sums);
    return std::sqrt(1 - x) * (sums[0] + x * sums[1]);
}

// The sines of two angles from 0 to pi / 2, to 3e-11 of the value, in the same way.
[[gnu::always_inline]] inline void sinesOfQuarter(const TwoDoubles& x, TwoDoubles& sines) {
    static constexpr TwoDoubles kCoefficients[] = {
        {0.99999999998291911, 0.99999999998291911},
        {-0.16666666616815567, -0.16666666616815567},
        {0.0083333309742075828, 0.0083333309742075828},
        {-0.00019840861179319552, -0.00019840861179319552},
        {2.7525269812298849e-6, 2.7525269812298849e-6},
        {-2.3889217773452806e-8, -2.3889217773452806e-8}};
    TwoDoubles ratios;
    polynomial(kCoefficients, x * x, ratios);
    sines = x * ratios;
}

}  // namespace

double ZtRotation::norm() const {
    return double(q_[0]) * q_[0] + double(q_[1]) * q_[1] + double(q_[2]) * q_[2] +
           double(q_[3]) * q_[3];
}

void ZtRotation::normalize() {
    const double length = std::sqrt(norm());
    for (float& component : q_)
        component = static_cast<float>(component / length);
}

ZtRotation& ZtRotation::setValue(float x, float y, float z, float w) {
    q_[0] = x;
    q_[1] = y;
    q_[2] = z;
    q_[3] = w;
    normalize();
    return *this;
}

ZtRotation& ZtRotation::setValue(const ZtVec3f& axis, float angle) {
    ZtVec3f unit = axis;
    unit.normalize();
    const double half = 0.5 * angle;
    const double sine = std::sin(half);
    return store(unit.x * sine, unit.y * sine, unit.z * sine, std::cos(half));
}

ZtRotation& ZtRotation::setValue(const ZtVec3f& from, const ZtVec3f& to) {
    // In double precision, in which the products of floats are exact: so the axis is right however
    // close to parallel the directions are, and exactly 0 where they are.
    const ZtVec3d a(from);
    const ZtVec3d b(to);
    const double lengths = std::sqrt(a.length2() * b.length2());
    if (lengths == 0)
        return makeIdentity();  // no direction: nothing to turn
    const double d = a.dot(b) / lengths;
    ZtVec3d axis = a.cross(b);
    const bool parallel = axis.length2() == 0;
    if (d >= 1 || (parallel && d > 0))
        return makeIdentity();
    double sine = 1;
    double cosine = 0;
    if (d <= -1 || parallel) {
        axis = a.cross(ZtVec3d(1, 0, 0));
        if (axis.length2() == 0)
            axis = a.cross(ZtVec3d(0, 1, 0));
    } else {
        sine = std::sqrt((1 - d) / 2);
        cosine = std::sqrt((1 + d) / 2);
    }
    axis.normalize();
    return store(axis.x * sine, axis.y * sine, axis.z * sine, cosine);
}

ZtRotation& ZtRotation::setValue(const ZtVec3f& fromDir, const ZtVec3f& fromUp,
                                 const ZtVec3f& toDir, const ZtVec3f& toUp) {
    constexpr float kFullTurn = 6.2831855f;
    const ZtRotation first(fromDir, toDir);
    ZtVec3f up;
    first.multVec(fromUp, up);
    const ZtVec3d turned(up);
    const ZtVec3d wanted(toUp);
    auto angle = static_cast<float>(std::acos(std::clamp(turned.dot(wanted), -1.0, 1.0)));
    if (ZtVec3d(toDir).dot(turned.cross(wanted)) < 0)
        angle = kFullTurn - angle;
    return *this = first * ZtRotation(toDir, angle);
}

void ZtRotation::getValue(float& x, float& y, float& z, float& w) const {
    x = q_[0];
    y = q_[1];
    z = q_[2];
    w = q_[3];
}

void ZtRotation::getValue(ZtVec3f& axis, float& angle) const {
    const double length = ZtVec3d(ZtVec3f(q_)).length();
    if (length <= kTiny) {
        axis.setValue(0, 0, 1);
        angle = 0;
        return;
    }
    axis = ZtVec3f(q_) * static_cast<float>(1 / length);
    angle = static_cast<float>(2 * std::acos(double(q_[3])));
}

ZtMat4f& ZtMat4f::setRotate(const ZtRotation& r) {
    r.getValue(*this);
    return *this;
}

bool ZtRotation::isNumber() const {
    return std::none_of(q_, q_ + 4, [](float component) { return std::isnan(component); });
}

ZtRotation& ZtRotation::invert() {
    const double n = norm();
    return store(-q_[0] / n, -q_[1] / n, -q_[2] / n, q_[3] / n);
}

ZtRotation& ZtRotation::operator*=(const ZtRotation& q) {
    const float ax = q_[0], ay = q_[1], az = q_[2], aw = q_[3];
    const float bx = q.q_[0], by = q.q_[1], bz = q.q_[2], bw = q.q_[3];
    return setValue(ax * bw + bx * aw + az * by - bz * ay, ax * bz + ay * bw + aw * by - bx * az,
                    bx * ay + az * bw + bz * aw - ax * by, bw * aw - bx * ax - ay * by - az * bz);
}

// The product b a of the quaternions, with eight multiplications.
ZtRotation operator*(const ZtRotation& a, const ZtRotation& b) {
    const float a0 = a.q_[0], a1 = a.q_[1], a2 = a.q_[2], a3 = a.q_[3];
    const float b0 = b.q_[0], b1 = b.q_[1], b2 = b.q_[2], b3 = b.q_[3];
    const float f1 = (b0 + b2) * (a0 + a1);
    const float f2 = (b0 - b2) * (a0 - a1);
    const float f3 = (b1 + b3) * (a3 - a2);
    const float f4 = (b3 - b1) * (a2 + a3);
    const float f5 = (f1 + f2 + f3 + f4) / 2;
    ZtRotation product;
    product.q_[0] = (b3 + b0) * (a3 + a0) - f5;
    product.q_[1] = (f1 - f2 + f3 - f4) / 2 - (b0 - b3) * (a2 + a1);
    product.q_[2] = (f1 - f2 - f3 + f4) / 2 - (b1 + b2) * (a0 - a3);
    product.q_[3] = (b2 - b1) * (a1 - a2) + (f4 - (f2 + f1) + f3) / 2;
    return product;
}

void ZtRotation::multVec(const ZtVec3f& src, ZtVec3f& dst) const {
    ZtMat4f m;
    getValue(m);
    m.multVecMatrix(src, dst);
}

ZtRotation& ZtRotation::scaleAngle(float f) {
    ZtVec3f axis;
    float angle;
    getValue(axis, angle);
    return setValue(axis, angle * f);
}

ZtRotation ZtRotation::slerp(const ZtRotation& a, const ZtRotation& b, float t) {
    FourDoubles from;
    FourDoubles to;
    load(a.q_, from);
    load(b.q_, to);
    const FourDoubles products = from * to;
    double cosine = products[0] + products[1] + products[2] + products[3];
    const double sign = cosine < 0 ? -1 : 1;  // of b, for the shorter arc
    cosine *= sign;
    TwoDoubles shares = {1 - double(t), double(t)};
    if (1 - cosine > kTiny) {
        shares *= arcCosine(cosine);
        if (t >= 0 && t <= 1)
            sinesOfQuarter(shares, shares);
        else
            shares = TwoDoubles{std::sin(shares[0]), std::sin(shares[1])};
        shares *= 1 / std::sqrt((1 - cosine) * (1 + cosine));
    }
    ZtRotation result;
    ::store(shares[0] * from + sign * shares[1] * to, result.q_);
    return result;
}

bool ZtRotation::equals(const ZtRotation& q, float tolerance) const {
    for (int i = 0; i < 4; ++i)
        if (!(tolerance > q_[i] - q.q_[i]))
            return false;
    return true;
}

ZtRotation& ZtRotation::store(double x, double y, double z, double w) {
    q_[0] = static_cast<float>(x);
    q_[1] = static_cast<float>(y);
    q_[2] = static_cast<float>(z);
    q_[3] = static_cast<float>(w);
    return *this;
}
