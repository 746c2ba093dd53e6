// Numbers to and from bytes, the lowest byte first, on every machine.
#pragma once

#include <cstdint>

namespace littleendian {

inline std::uint32_t load32(const unsigned char* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
           static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

inline std::uint64_t load64(const unsigned char* bytes) {
    return load32(bytes) | static_cast<std::uint64_t>(load32(bytes + 4)) << 32;
}

inline void store32(std::uint32_t value, unsigned char* bytes) {
    bytes[0] = static_cast<unsigned char>(value);
    bytes[1] = static_cast<unsigned char>(value >> 8);
    bytes[2] = static_cast<unsigned char>(value >> 16);
    bytes[3] = static_cast<unsigned char>(value >> 24);
}

inline void store64(std::uint64_t value, unsigned char* bytes) {
    store32(static_cast<std::uint32_t>(value), bytes);
    store32(static_cast<std::uint32_t>(value >> 32), bytes + 4);
}

}  // namespace littleendian
