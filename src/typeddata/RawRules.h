// What becomes of one value when its element type changes: the rules of conversion and of linear
// mapping, written once and plainly. The fast forms are tested against them bit by bit.
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

namespace rawdata {

// int's smallest value is not reached from doubles, nor by copies from floats that lie below it.
inline constexpr std::int32_t kLowestInt = -2147483646;

/// What floats below the range of int become.
enum class BelowInt : std::int32_t { kInCopies = kLowestInt, kInMappings = INT32_MIN };

/// Cuts a floating-point value to the range of an integer type and truncates it toward zero. NaN
/// becomes 0, or the smallest int.
template <class To, class From>
constexpr To truncate(From value, BelowInt below) {
    constexpr bool isInt = std::is_same_v<To, std::int32_t>;
    if (value != value)
        return isInt ? std::numeric_limits<To>::min() : To{0};
    if constexpr (!isInt) {
        constexpr From lowest = std::numeric_limits<To>::min();
        constexpr From highest = std::numeric_limits<To>::max();
        if (value < lowest || value > highest)
            return value < lowest ? std::numeric_limits<To>::min() : std::numeric_limits<To>::max();
    } else if constexpr (std::is_same_v<From, double>) {
        if (value < kLowestInt || value >= std::numeric_limits<To>::max())
            return value < 0 ? kLowestInt : std::numeric_limits<To>::max();
    } else {
        // The bounds of int as single precision has them: the upper one lies outside of it.
        constexpr From bound = 2147483648.0f;
        if (value < -bound || value >= bound)
            return value < 0 ? static_cast<To>(below) : std::numeric_limits<To>::max();
    }
    return static_cast<To>(value);
}

/// The element of type `To` that a copy makes of one of type `From`.
template <class To, class From>
constexpr To convertElement(From value) {
    if constexpr (std::is_floating_point_v<To>) {
        return static_cast<To>(value);
    } else if constexpr (std::is_floating_point_v<From>) {
        return truncate<To>(value, BelowInt::kInCopies);
    } else if constexpr (std::is_same_v<From, std::uint16_t> && std::is_same_v<To, std::int16_t>) {
        // Compared as if it were signed, the upper half of the range is negative.
        return value > 32767 ? To{0} : static_cast<To>(value);
    } else {
        constexpr std::int32_t lowest = std::numeric_limits<To>::min();
        constexpr std::int32_t highest = std::numeric_limits<To>::max();
        const std::int32_t wide = value;
        return static_cast<To>(wide < lowest ? lowest : wide > highest ? highest : wide);
    }
}

/// (value + offset) * scale as an element of type `To`. Integers are computed in single precision,
/// each operation rounded; from doubles in double precision, rounded to single before the cut to
/// BYTE, SHORT and USHORT. Offset and scale are rounded to single for all but doubles.
template <class To, class From>
To mapElement(From value, double offset, double scale) {
    const float singleOffset = static_cast<float>(offset);
    const float singleScale = static_cast<float>(scale);
    if constexpr (std::is_same_v<To, double>) {
        return (static_cast<double>(value) + offset) * scale;
    } else if constexpr (std::is_same_v<From, double> && !std::is_same_v<To, float>) {
        const double mapped =
            (value + static_cast<double>(singleOffset)) * static_cast<double>(singleScale);
        if constexpr (std::is_same_v<To, std::int32_t>)
            return truncate<To>(mapped, BelowInt::kInMappings);
        else
            return truncate<To>(static_cast<float>(mapped), BelowInt::kInMappings);
    } else {
        const float mapped = (static_cast<float>(value) + singleOffset) * singleScale;
        if constexpr (std::is_same_v<To, float>)
            return mapped;
        else
            return truncate<To>(mapped, BelowInt::kInMappings);
    }
}

}  // namespace rawdata
