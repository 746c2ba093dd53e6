// A value vector of four numbers, the template behind the classes ZtVec4f, ZtVec4i and their kin.
#pragma once

#include <ztlib/ZtContract.h>
#include <ztlib/ZtVecArithmetic.h>

/// A point, direction or key with four components of type `T`. A plain value: no heap, trivially
/// copyable, zero until set. Numbers and pointers do not convert to it by themselves; another
/// element type converts on request. Integer components must not overflow.
template <class T>
class ZtVec4 : public ZtVecArithmetic<ZtVec4<T>, T> {
public:
    /// The components, 0 at first.
    T x = 0;
    T y = 0;
    T z = 0;
    T w = 0;

    constexpr ZtVec4() = default;
    /// A vector from its components.
    constexpr ZtVec4(T xValue, T yValue, T zValue, T wValue)
        : x(xValue), y(yValue), z(zValue), w(wValue) {}
    /// From the four numbers at `v`.
    explicit constexpr ZtVec4(const T* v) : ZtVec4(v[0], v[1], v[2], v[3]) {}
    explicit ZtVec4(decltype(nullptr)) = delete;

    /// Converts each component.
    template <class U>
    explicit constexpr ZtVec4(const ZtVec4<U>& other)
        : ZtVec4(static_cast<T>(other.x), static_cast<T>(other.y), static_cast<T>(other.z),
                 static_cast<T>(other.w)) {}

    /// Sets the components.
    constexpr void setValue(T xValue, T yValue, T zValue, T wValue) {
        *this = ZtVec4(xValue, yValue, zValue, wValue);
    }
    /// The components as an array of four.
    constexpr const T* getValue() const { return &x; }

    /// Component `i`, counted from x. Expects 0 <= i < 4.
    constexpr T& operator[](int i) {
        ZT_REQUIRE(i >= 0 && i < 4);
        return i == 0 ? x : i == 1 ? y : i == 2 ? z : w;
    }
    constexpr const T& operator[](int i) const {
        ZT_REQUIRE(i >= 0 && i < 4);
        return i == 0 ? x : i == 1 ? y : i == 2 ? z : w;
    }

    /// The vector of f(v.x...) and so on, component by component.
    template <class F, class... V>
    static constexpr ZtVec4 map(F f, const V&... v) {
        return ZtVec4(f(v.x...), f(v.y...), f(v.z...), f(v.w...));
    }
    /// The sum of f(v.x...) and so on, added in this order.
    template <class F, class... V>
    static constexpr auto sum(F f, const V&... v) {
        return f(v.x...) + f(v.y...) + f(v.z...) + f(v.w...);
    }
    /// Whether f(v.x...) and so on all hold.
    template <class F, class... V>
    static constexpr bool all(F f, const V&... v) {
        return f(v.x...) && f(v.y...) && f(v.z...) && f(v.w...);
    }
};
