// A value vector of four numbers, the template behind the classes ZtVec4f, ZtVec4i and their kin.
#pragma once

#include <ztlib/ZtContract.h>
#include <ztlib/ZtVecLength.h>

/// A point, direction or key with four components of type `T`. A plain value: no heap, trivially
/// copyable, zero until set. Numbers and pointers do not convert to it by themselves; another
/// element type converts on request. Integer components must not overflow.
template <class T>
class ZtVec4 {
public:
    T x = 0;
    T y = 0;
    T z = 0;
    T w = 0;

    constexpr ZtVec4() = default;
    constexpr ZtVec4(T xValue, T yValue, T zValue, T wValue)
        : x(xValue), y(yValue), z(zValue), w(wValue) {}

    template <class U>
    explicit constexpr ZtVec4(const ZtVec4<U>& other)
        : x(static_cast<T>(other.x)),
          y(static_cast<T>(other.y)),
          z(static_cast<T>(other.z)),
          w(static_cast<T>(other.w)) {}

    /// Component `i`, counted from x. Expects 0 <= i < 4.
    constexpr T& operator[](int i) {
        ZT_REQUIRE(i >= 0 && i < 4);
        return i == 0 ? x : i == 1 ? y : i == 2 ? z : w;
    }
    constexpr const T& operator[](int i) const {
        ZT_REQUIRE(i >= 0 && i < 4);
        return i == 0 ? x : i == 1 ? y : i == 2 ? z : w;
    }

    constexpr ZtVec4& operator+=(const ZtVec4& other) {
        x += other.x;
        y += other.y;
        z += other.z;
        w += other.w;
        return *this;
    }
    constexpr ZtVec4& operator-=(const ZtVec4& other) {
        x -= other.x;
        y -= other.y;
        z -= other.z;
        w -= other.w;
        return *this;
    }
    constexpr ZtVec4& operator*=(T factor) {
        x *= factor;
        y *= factor;
        z *= factor;
        w *= factor;
        return *this;
    }
    /// Divides component by component, so that floating-point quotients are correctly rounded.
    constexpr ZtVec4& operator/=(T divisor) {
        x /= divisor;
        y /= divisor;
        z /= divisor;
        w /= divisor;
        return *this;
    }

    constexpr ZtVec4 operator-() const { return ZtVec4(-x, -y, -z, -w); }
    friend constexpr ZtVec4 operator+(ZtVec4 a, const ZtVec4& b) { return a += b; }
    friend constexpr ZtVec4 operator-(ZtVec4 a, const ZtVec4& b) { return a -= b; }
    friend constexpr ZtVec4 operator*(ZtVec4 v, T factor) { return v *= factor; }
    friend constexpr ZtVec4 operator*(T factor, ZtVec4 v) { return v *= factor; }
    friend constexpr ZtVec4 operator/(ZtVec4 v, T divisor) { return v /= divisor; }
    friend constexpr bool operator==(const ZtVec4& a, const ZtVec4& b) {
        return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
    }
    friend constexpr bool operator!=(const ZtVec4& a, const ZtVec4& b) { return !(a == b); }

    constexpr T dot(const ZtVec4& other) const {
        return x * other.x + y * other.y + z * other.z + w * other.w;
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
            *this = ZtVec4(static_cast<T>(x * reciprocal), static_cast<T>(y * reciprocal),
                           static_cast<T>(z * reciprocal), static_cast<T>(w * reciprocal));
        return static_cast<T>(length);
    }

private:
    double exactLength() const {
        return std::sqrt(ztSquare(x) + ztSquare(y) + ztSquare(z) + ztSquare(w));
    }
};
