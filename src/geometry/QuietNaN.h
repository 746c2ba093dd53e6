// The quiet NaN that marks undefined results.
#pragma once

#include <cstdint>
#include <cstring>

/// The NaN of bit pattern 0x7FC00000. Copied, not computed: arithmetic gives NaNs of either sign.
inline float quietNaN() {
    const std::uint32_t bits = 0x7FC00000u;
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}
