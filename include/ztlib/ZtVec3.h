// A value vector of three numbers, the template behind the classes ZtVec3f, ZtVec3i and their kin.
#pragma once

#include <ztlib/ZtContract.h>
#include <ztlib/ZtVecLength.h>

/// A point, direction or key with three components of type `T`. A plain value: no heap, trivially
/// copyable, zero until set. Numbers and pointers do not convert to it by themselves; another
/// element type converts on request. Integer components must not overflow.
template <class T>
class ZtVec3 {
public:
    T x = 0;
    T y = 0;
    T z = 0;

    constexpr ZtVec3() = default;
    constexpr ZtVec3(T xValue, T yValue, T zValue) : x(xValue), y(yValue), z(zValue) {}

    template <class U>
    explicit constexpr ZtVec3(const ZtVec3<U>& other)
        : x(static_cast<T>(other.x)), y(static_cast<T>(other.y)), z(static_cast<T>(other.z)) {}

    /// Component `i`, counted from x. Expects 0 <= i < 3.
    constexpr T& operator[](int i) {
        ZT_REQUIRE(i >= 0 && i < 3);
        return i == 0 ? x : i == 1 ? y : z;
    }
    constexpr const T& operator[](int i) const {
        ZT_REQUIRE(i >= 0 && i < 3);
        return i == 0 ? x : i == 1 ? y : z;
    }

    constexpr ZtVec3& operator+=(const ZtVec3& other) {
        x += other.x;
        y += other.y;
        z += other.z;
        return *this;
    }
    constexpr ZtVec3& operator-=(const ZtVec3& other) {
        x -= other.x;
        y -= other.y;
        z -= other.z;
        return *this;
    }
    constexpr ZtVec3& operator*=(T factor) {
        x *= factor;
        y *= factor;
        z *= factor;
        return *this;
    }
    /// Divides component by component, so that floating-point quotients are correctly rounded.
    constexpr ZtVec3& operator/=(T divisor) {
        x /= divisor;
        y /= divisor;
        z /= divisor;
        return *this;
    }

    constexpr ZtVec3 operator-() const { return ZtVec3(-x, -y, -z); }
    friend constexpr ZtVec3 operator+(ZtVec3 a, const ZtVec3& b) { return a += b; }
    friend constexpr ZtVec3 operator-(ZtVec3 a, const ZtVec3& b) { return a -= b; }
    friend constexpr ZtVec3 operator*(ZtVec3 v, T factor) { return v *= factor; }
    friend constexpr ZtVec3 operator*(T factor, ZtVec3 v) { return v *= factor; }
    friend constexpr ZtVec3 operator/(ZtVec3 v, T divisor) { return v /= divisor; }
    friend constexpr bool operator==(const ZtVec3& a, const ZtVec3& b) {
        return a.x == b.x && a.y == b.y && a.z == b.z;
    }
    friend constexpr bool operator!=(const ZtVec3& a, const ZtVec3& b) { return !(a == b); }

    constexpr T dot(const ZtVec3& other) const { return x * other.x + y * other.y + z * other.z; }

    /// The vector at right angles to both: (this, other, result) is a right-handed system.
    constexpr ZtVec3 cross(const ZtVec3& other) const {
        return ZtVec3(y * other.z - z * other.y, z * other.x - x * other.z,
                      x * other.y - y * other.x);
    }

    /// The Euclidean length, computed in double precision.
    ZtVecLength<T> length() const { return static_cast<ZtVecLength<T>>(exactLength()); }

    /// Scales the vector to length 1 and returns the length that it had. A vector of length 0 stays
    /// as it is. The length is computed in double precision and its reciprocal rounded to `T`.
    T normalize() {
        static_assert(std::is_floating_point_v<T>, "an integer vector has no unit vector");
        const double length = exactLength();
        if (length == 0)
            return 0;
        const double reciprocal = 1.0 / length;
        if (reciprocal <= std::numeric_limits<T>::max())
            *this *= static_cast<T>(reciprocal);
        else  // so short that the reciprocal does not fit `T`, or not a number
            *this = ZtVec3(static_cast<T>(x * reciprocal), static_cast<T>(y * reciprocal),
                           static_cast<T>(z * reciprocal));
        return static_cast<T>(length);
    }

private:
    double exactLength() const { return std::sqrt(ztSquare(x) + ztSquare(y) + ztSquare(z)); }
};
