// What the value vectors share: the type of a length and the square of a component.
#pragma once

#include <type_traits>

/// The type in which a vector of `T` gives its length: its own for floating-point components,
/// double for integers.
template <class T>
using ZtVecLength = std::conditional_t<std::is_floating_point_v<T>, T, double>;

/// The square of a component in double precision.
template <class T>
constexpr double ztSquare(T component) {
    return static_cast<double>(component) * static_cast<double>(component);
}
