// A value vector of two numbers, the template behind the classes ZtVec2f, ZtVec2i and their kin.
#pragma once

#include <ztlib/ZtContract.h>
#include <ztlib/ZtVecLength.h>

/// A point, direction or key with two components of type `T`. A plain value: no heap, trivially
/// copyable, zero until set. Numbers and pointers do not convert to it by themselves; another
/// element type converts on request. Integer components must not overflow.
template <class T>
class ZtVec2 {
public:
    T x = 0;
    T y = 0;

    constexpr ZtVec2() = default;
    constexpr ZtVec2(T xValue, T yValue) : x(xValue), y(yValue) {}

    template <class U>
    explicit constexpr ZtVec2(const ZtVec2<U>& other)
        : x(static_cast<T>(other.x)), y(static_cast<T>(other.y)) {}

    /// Component `i`, counted from x. Expects 0 <= i < 2.
    constexpr T& operator[](int i) {
        ZT_REQUIRE(i >= 0 && i < 2);
        return i == 0 ? x : y;
    }
    constexpr const T& operator[](int i) const {
        ZT_REQUIRE(i >= 0 && i < 2);
        return i == 0 ? x : y;
    }

    constexpr ZtVec2& operator+=(const ZtVec2& other) {
        x += other.x;
        y += other.y;
        return *this;
    }
    constexpr ZtVec2& operator-=(const ZtVec2& other) {
        x -= other.x;
        y -= other.y;
        return *this;
    }
    constexpr ZtVec2& operator*=(T factor) {
        x *= factor;
        y *= factor;
        return *this;
    }
    /// Divides component by component, so that floating-point quotients are correctly rounded.
    constexpr ZtVec2& operator/=(T divisor) {
        x /= divisor;
        y /= divisor;
        return *this;
    }

    constexpr ZtVec2 operator-() const { return ZtVec2(-x, -y); }
    friend constexpr ZtVec2 operator+(ZtVec2 a, const ZtVec2& b) { return a += b; }
    friend constexpr ZtVec2 operator-(ZtVec2 a, const ZtVec2& b) { return a -= b; }
    friend constexpr ZtVec2 operator*(ZtVec2 v, T factor) { return v *= factor; }
    friend constexpr ZtVec2 operator*(T factor, ZtVec2 v) { return v *= factor; }
    friend constexpr ZtVec2 operator/(ZtVec2 v, T divisor) { return v /= divisor; }
    friend constexpr bool operator==(const ZtVec2& a, const ZtVec2& b) {
        return a.x == b.x && a.y == b.y;
    }
    friend constexpr bool operator!=(const ZtVec2& a, const ZtVec2& b) { return !(a == b); }

    constexpr T dot(const ZtVec2& other) const { return x * other.x + y * other.y; }

    /// The z component of the cross product in space: twice the signed area of the triangle that
    /// both vectors span, positive where `other` lies to the left.
    constexpr T cross(const ZtVec2& other) const { return x * other.y - y * other.x; }

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
            *this = ZtVec2(static_cast<T>(x * reciprocal), static_cast<T>(y * reciprocal));
        return static_cast<T>(length);
    }

private:
    double exactLength() const { return std::sqrt(ztSquare(x) + ztSquare(y)); }
};
