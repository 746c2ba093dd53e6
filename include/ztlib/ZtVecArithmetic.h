// What the value vectors of two, three and four components share: arithmetic, comparison, lengths.
#pragma once

#include <ztlib/ZtVecLength.h>

#include <cmath>
#include <limits>
#include <type_traits>

/// The base of the value vectors. `Vec` holds the components, of type `T`, and has three functions
/// that go over them in their order: `map`, `sum` and `all` (see ZtVec3).
template <class Vec, class T>
class ZtVecArithmetic {
public:
    /// Add, subtract and scale component by component, in the type of the components.
    friend constexpr Vec operator+(const Vec& a, const Vec& b) {
        return Vec::map([](T left, T right) { return left + right; }, a, b);
    }
    friend constexpr Vec operator-(const Vec& a, const Vec& b) {
        return Vec::map([](T left, T right) { return left - right; }, a, b);
    }
    friend constexpr Vec operator*(const Vec& v, T factor) {
        return Vec::map([factor](T component) { return component * factor; }, v);
    }
    friend constexpr Vec operator*(T factor, const Vec& v) { return v * factor; }
    /// Divides component by component, so that floating-point quotients are correctly rounded.
    friend constexpr Vec operator/(const Vec& v, T divisor) {
        return Vec::map([divisor](T component) { return component / divisor; }, v);
    }
    constexpr Vec operator-() const {
        return Vec::map([](T component) { return -component; }, self());
    }

    /// As the operators with two operands.
    constexpr Vec& operator+=(const Vec& other) { return self() = self() + other; }
    constexpr Vec& operator-=(const Vec& other) { return self() = self() - other; }
    constexpr Vec& operator*=(T factor) { return self() = self() * factor; }
    constexpr Vec& operator/=(T divisor) { return self() = self() / divisor; }

    /// Whether all components are equal; a NaN equals nothing.
    friend constexpr bool operator==(const Vec& a, const Vec& b) {
        return Vec::all([](T left, T right) { return left == right; }, a, b);
    }
    friend constexpr bool operator!=(const Vec& a, const Vec& b) { return !(a == b); }

    /// Whether no component differs by more than `tolerance`; false where one is not a number.
    constexpr bool equals(const Vec& other, T tolerance) const {
        return Vec::all([tolerance](T a, T b) { return (a > b ? a - b : b - a) <= tolerance; },
                        self(), other);
    }

    /// The sum of the products of the components, in their order and their type.
    constexpr T dot(const Vec& other) const {
        return Vec::sum([](T left, T right) { return left * right; }, self(), other);
    }

    /// The Euclidean length, computed in double precision.
    ZtVecLength<T> length() const { return static_cast<ZtVecLength<T>>(exactLength()); }
    /// The squared length: the dot product with itself, in the type of the components.
    constexpr T length2() const { return dot(self()); }

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
            self() = Vec::map([reciprocal](T c) { return static_cast<T>(c * reciprocal); }, self());
        return static_cast<T>(length);
    }

private:
    constexpr Vec& self() { return static_cast<Vec&>(*this); }
    constexpr const Vec& self() const { return static_cast<const Vec&>(*this); }

    double exactLength() const {
        return std::sqrt(Vec::sum([](T component) { return ztSquare(component); }, self()));
    }
};
