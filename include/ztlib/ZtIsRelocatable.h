// Which types may be moved to another address by copying their bytes.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

namespace zt_detail {

/// Types that are known to hold a pointer into themselves: the texts and the node-based containers
/// of the standard library, told by their members so that their headers are not needed here.
template <class T, class = void>
struct HasTraitsType : std::false_type {};
template <class T>
struct HasTraitsType<T, std::void_t<typename T::traits_type>> : std::true_type {};

template <class T, class = void>
struct HasNodeType : std::false_type {};
template <class T>
struct HasNodeType<T, std::void_t<typename T::node_type>> : std::true_type {};

template <class T, class = void>
struct IsLinkedList : std::false_type {};
template <class T>
struct IsLinkedList<T, std::void_t<decltype(std::declval<T&>().splice(
                           std::declval<T&>().begin(), std::declval<T&>()))>> : std::true_type {};

template <class T>
inline constexpr bool kPointsIntoItself =
    HasTraitsType<T>::value || HasNodeType<T>::value || IsLinkedList<T>::value;

}  // namespace zt_detail

/// Whether an object of type `T` may be moved to another address by copying its bytes, the old
/// bytes then being forgotten. True unless the type is known to point into itself. What a class
/// holds inside cannot be looked at: whoever writes one that holds a pointer into itself (a
/// `std::string` member is enough), or that registers its address somewhere, says so by
/// `template <> struct ZtIsRelocatable<MyType> : std::false_type {};`.
template <class T>
struct ZtIsRelocatable
    : std::bool_constant<std::is_trivially_copyable_v<T> || !zt_detail::kPointsIntoItself<T>> {};

template <class First, class Second>
struct ZtIsRelocatable<std::pair<First, Second>>
    : std::bool_constant<ZtIsRelocatable<First>::value && ZtIsRelocatable<Second>::value> {};

template <class T, std::size_t N>
struct ZtIsRelocatable<T[N]> : ZtIsRelocatable<T> {};
