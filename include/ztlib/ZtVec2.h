// A value vector of two numbers, the template behind the classes ZtVec2f, ZtVec2i and their kin.
#pragma once

#include <ztlib/ZtContract.h>
#include <ztlib/ZtVecArithmetic.h>

/// A point, direction or key with two components of type `T`. A plain value: no heap, trivially
/// copyable, zero until set. Numbers and pointers do not convert to it by themselves; another
/// element type converts on request. Integer components must not overflow.
template <class T>
class ZtVec2 : public ZtVecArithmetic<ZtVec2<T>, T> {
public:
    /// The components, 0 at first.
    T x = 0;
    T y = 0;

    constexpr ZtVec2() = default;
    /// A vector from its components.
    constexpr ZtVec2(T xValue, T yValue) : x(xValue), y(yValue) {}
    /// From the two numbers at `v`.
    explicit constexpr ZtVec2(const T* v) : ZtVec2(v[0], v[1]) {}
    explicit ZtVec2(decltype(nullptr)) = delete;

    /// Converts each component.
    template <class U>
    explicit constexpr ZtVec2(const ZtVec2<U>& other)
        : ZtVec2(static_cast<T>(other.x), static_cast<T>(other.y)) {}

    /// Sets the components.
    constexpr void setValue(T xValue, T yValue) { *this = ZtVec2(xValue, yValue); }
    /// The components as an array of two.
    constexpr const T* getValue() const { return &x; }

    /// Component `i`, counted from x. Expects 0 <= i < 2.
    constexpr T& operator[](int i) {
        ZT_REQUIRE(i >= 0 && i < 2);
        return i == 0 ? x : y;
    }
    constexpr const T& operator[](int i) const {
        ZT_REQUIRE(i >= 0 && i < 2);
        return i == 0 ? x : y;
    }

    /// The z component of the cross product in space: twice the signed area of the triangle that
    /// both vectors span, positive where `other` lies to the left.
    constexpr T cross(const ZtVec2& other) const { return x * other.y - y * other.x; }

    /// The vector of f(v.x...) and so on, component by component.
    template <class F, class... V>
    static constexpr ZtVec2 map(F f, const V&... v) {
        return ZtVec2(f(v.x...), f(v.y...));
    }
    /// The sum of f(v.x...) and so on, added in this order.
    template <class F, class... V>
    static constexpr auto sum(F f, const V&... v) {
        return f(v.x...) + f(v.y...);
    }
    /// Whether f(v.x...) and so on all hold.
    template <class F, class... V>
    static constexpr bool all(F f, const V&... v) {
        return f(v.x...) && f(v.y...);
    }
};
