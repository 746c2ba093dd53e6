// The plain form of the raw data loops: element by element, by the rules of RawRules.h.
#include <cstddef>
#include <cstring>

#include "typeddata/RawKernels.h"
#include "typeddata/RawRules.h"

namespace rawdata {
namespace {

// Elements may lie at any address.
template <class T>
T load(const void* data, std::size_t i) {
    T value;
    std::memcpy(&value, static_cast<const unsigned char*>(data) + i * sizeof(T), sizeof value);
    return value;
}

template <class T>
void store(void* data, std::size_t i, T value) {
    std::memcpy(static_cast<unsigned char*>(data) + i * sizeof(T), &value, sizeof value);
}

template <class To, class From>
std::size_t convert(void* to, const void* from, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        store<To>(to, i, convertElement<To>(load<From>(from, i)));
    return count;
}

template <class To, class From>
std::size_t map(void* to, const void* from, std::size_t count, double offset, double scale) {
    for (std::size_t i = 0; i < count; ++i)
        store<To>(to, i, mapElement<To>(load<From>(from, i), offset, scale));
    return count;
}

template <class T>
std::size_t widen(const void* data, std::size_t count, Range& range) {
    for (std::size_t i = 0; i < count; ++i) {
        const double value = load<T>(data, i);
        if (value < range.least)
            range.least = value;
        if (value > range.largest)
            range.largest = value;
    }
    return count;
}

template <class T>
std::size_t countEqual(const void* value, const void* data, std::size_t count) {
    std::size_t i = 0;
    while (i < count && load<T>(data, i) == load<T>(value, 0))
        ++i;
    return i;
}

template <std::size_t size>
std::size_t swap(void* to, const void* from, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        unsigned char bytes[size];
        std::memcpy(bytes, static_cast<const unsigned char*>(from) + i * size, size);
        auto* const out = static_cast<unsigned char*>(to) + i * size;
        for (std::size_t k = 0; k < size; ++k)
            out[k] = bytes[size - 1 - k];
    }
    return count;
}

constexpr Kernels::Convert stream = nullptr;
constexpr void (*endStream)() = nullptr;

#include "typeddata/RawTable.inl"

}  // namespace

constexpr Kernels kPlainKernels = tableOf(AllTypes());

}  // namespace rawdata
