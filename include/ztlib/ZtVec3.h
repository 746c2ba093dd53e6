// A value vector of three numbers, the template behind the classes ZtVec3f, ZtVec3i and their kin.
#pragma once

#include <ztlib/ZtContract.h>
#include <ztlib/ZtVecArithmetic.h>

/// A point, direction or key with three components of type `T`. A plain value: no heap, trivially
/// copyable, zero until set. Numbers and pointers do not convert to it by themselves; another
/// element type converts on request. Integer components must not overflow.
template <class T>
class ZtVec3 : public ZtVecArithmetic<ZtVec3<T>, T> {
public:
    /// The components, 0 at first.
    T x = 0;
    T y = 0;
    T z = 0;

    constexpr ZtVec3() = default;
    /// A vector from its components.
    constexpr ZtVec3(T xValue, T yValue, T zValue) : x(xValue), y(yValue), z(zValue) {}
    /// From the three numbers at `v`.
    explicit constexpr ZtVec3(const T* v) : ZtVec3(v[0], v[1], v[2]) {}
    explicit ZtVec3(decltype(nullptr)) = delete;

    /// Converts each component.
    template <class U>
    explicit constexpr ZtVec3(const ZtVec3<U>& other)
        : ZtVec3(static_cast<T>(other.x), static_cast<T>(other.y), static_cast<T>(other.z)) {}

    /// Sets the components.
    constexpr void setValue(T xValue, T yValue, T zValue) {
        *this = ZtVec3(xValue, yValue, zValue);
    }
    /// The components as an array of three.
    constexpr const T* getValue() const { return &x; }

    /// Component `i`, counted from x. Expects 0 <= i < 3.
    constexpr T& operator[](int i) {
        ZT_REQUIRE(i >= 0 && i < 3);
        return i == 0 ? x : i == 1 ? y : z;
    }
    constexpr const T& operator[](int i) const {
        ZT_REQUIRE(i >= 0 && i < 3);
        return i == 0 ? x : i == 1 ? y : z;
    }

    /// The vector at right angles to both: (this, other, result) is a right-handed system.
    constexpr ZtVec3 cross(const ZtVec3& other) const {
        return ZtVec3(y * other.z - z * other.y, z * other.x - x * other.z,
                      x * other.y - y * other.x);
    }

    /// The vector of f(v.x...) and so on, component by component.
    template <class F, class... V>
    static constexpr ZtVec3 map(F f, const V&... v) {
        return ZtVec3(f(v.x...), f(v.y...), f(v.z...));
    }
    /// The sum of f(v.x...) and so on, added in this order.
    template <class F, class... V>
    static constexpr auto sum(F f, const V&... v) {
        return f(v.x...) + f(v.y...) + f(v.z...);
    }
    /// Whether f(v.x...) and so on all hold.
    template <class F, class... V>
    static constexpr bool all(F f, const V&... v) {
        return f(v.x...) && f(v.y...) && f(v.z...);
    }
};
