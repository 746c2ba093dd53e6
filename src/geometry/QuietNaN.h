// The quiet NaN that marks undefined results.
#pragma once

#include <ztlib/ZtVec3f.h>

#include <cmath>
#include <cstdint>
#include <cstring>

/// The NaN of bit pattern 0x7FC00000. Copied, not computed: arithmetic gives NaNs of either sign.
inline float quietNaN() {
    const std::uint32_t bits = 0x7FC00000u;
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

inline ZtVec3f vectorOfNaN() {
    return ZtVec3f(quietNaN(), quietNaN(), quietNaN());
}

inline bool hasNaN(const ZtVec3f& v) {
    return std::isnan(v.x) || std::isnan(v.y) || std::isnan(v.z);
}
