// Filling an array with copies of one element of any size.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace rawdata {

/// Writes the `size` bytes at `element`, zeros where it is null, `count` times.
inline void fill(void* data, const void* element, std::size_t size, std::size_t count) {
    auto* const out = static_cast<unsigned char*>(data);
    if (count == 0 || size == 0)
        return;
    const std::size_t bytes = size * count;
    if (!element) {
        std::memset(out, 0, bytes);
        return;
    }
    std::memcpy(out, element, size);
    // What is there already, while it stays in the nearest cache, is copied behind itself.
    std::size_t done = size;
    while (done < bytes) {
        const std::size_t some =
            std::min({bytes - done, done, std::max<std::size_t>(size, 8192 / size * size)});
        std::memcpy(out + done, out, some);
        done += some;
    }
}

}  // namespace rawdata
