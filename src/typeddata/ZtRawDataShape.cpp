// Turning volumes around and cutting boxes out of them.
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtRawData.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "typeddata/RawFill.h"

namespace {

/// Exchanges the contents of two blocks.
void exchange(unsigned char* a, unsigned char* b, std::size_t bytes) {
    unsigned char piece[4096];
    for (std::size_t done = 0; done < bytes; done += sizeof piece) {
        const std::size_t some = std::min(bytes - done, sizeof piece);
        std::memcpy(piece, a + done, some);
        std::memcpy(a + done, b + done, some);
        std::memcpy(b + done, piece, some);
    }
}

template <class T>
void reverseElements(unsigned char* row, std::size_t count) {
    unsigned char* low = row;
    unsigned char* high = row + count * sizeof(T);
    for (std::size_t i = 0; i < count / 2; ++i, low += sizeof(T)) {
        high -= sizeof(T);
        T first;
        T last;
        std::memcpy(&first, low, sizeof first);
        std::memcpy(&last, high, sizeof last);
        std::memcpy(low, &last, sizeof last);
        std::memcpy(high, &first, sizeof first);
    }
}

/// Reverses the order of `count` blocks of `size` bytes.
void reverse(unsigned char* blocks, std::size_t count, std::size_t size) {
    if (size == 1)
        return reverseElements<std::uint8_t>(blocks, count);
    if (size == 2)
        return reverseElements<std::uint16_t>(blocks, count);
    if (size == 4)
        return reverseElements<std::uint32_t>(blocks, count);
    if (size == 8)
        return reverseElements<std::uint64_t>(blocks, count);
    for (std::size_t i = 0; i < count / 2; ++i)
        exchange(blocks + i * size, blocks + (count - 1 - i) * size, size);
}

/// Multiplies sizes; throws as an exhausted memory when the product is beyond the address space.
std::size_t product(std::initializer_list<std::uint64_t> factors) {
    std::uint64_t result = 1;
    for (const std::uint64_t factor : factors) {
        if (factor > 0 && result > static_cast<std::uint64_t>(PTRDIFF_MAX) / factor)
            ztThrowMemoryException(SIZE_MAX);
        result *= factor;
    }
    return static_cast<std::size_t>(result);
}

}  // namespace

int ZtRawData::flip(void* data, int elementSize, const int* dims, int axis) {
    if (axis < 0 || axis > 2 || elementSize < 1 || std::min({dims[0], dims[1], dims[2]}) < 0)
        return 0;
    std::size_t block = static_cast<std::size_t>(elementSize);
    std::size_t outer = 1;
    for (int i = 0; i < 3; ++i)
        (i < axis ? block : outer) *= i == axis ? 1 : static_cast<std::size_t>(dims[i]);
    const auto count = static_cast<std::size_t>(dims[axis]);
    auto* const bytes = static_cast<unsigned char*>(data);
    for (std::size_t i = 0; i < outer; ++i)
        reverse(bytes + i * count * block, count, block);
    return 1;
}

int ZtRawData::crop(void*& data, int elementSize, int* dims, const int* boxMin, const int* boxMax,
                    const void* fillValue) {
    std::int64_t size[3];
    for (int i = 0; i < 3; ++i) {
        size[i] = std::int64_t{boxMax[i]} - boxMin[i] + 1;
        if (elementSize < 1 || dims[i] < 0 || size[i] < 1 || size[i] > INT32_MAX)
            return 0;
    }
    const auto element = static_cast<std::size_t>(elementSize);
    const std::size_t bytes =
        product({element, static_cast<std::uint64_t>(size[0]), static_cast<std::uint64_t>(size[1]),
                 static_cast<std::uint64_t>(size[2])});
    auto* const result = static_cast<unsigned char*>(ztmalloc(bytes));
    const auto fill = [=](unsigned char* out, std::int64_t count) {
        rawdata::fill(out, fillValue, element, static_cast<std::size_t>(count));
    };
    // The part of each row that lies in the source.
    const std::int64_t first = std::clamp<std::int64_t>(boxMin[0], 0, dims[0]);
    const std::int64_t end = std::clamp<std::int64_t>(std::int64_t{boxMax[0]} + 1, first, dims[0]);
    const std::int64_t before = std::min(first - boxMin[0], size[0]);
    unsigned char* out = result;
    const auto* const in = static_cast<const unsigned char*>(data);
    for (std::int64_t z = boxMin[2]; z <= boxMax[2]; ++z)
        for (std::int64_t y = boxMin[1]; y <= boxMax[1]; ++y) {
            const bool isInside = y >= 0 && y < dims[1] && z >= 0 && z < dims[2] && first < end;
            if (isInside) {
                const std::int64_t row = (z * dims[1] + y) * dims[0];
                fill(out, before);
                std::memcpy(out + before * elementSize, in + (row + first) * elementSize,
                            static_cast<std::size_t>((end - first) * elementSize));
                const std::int64_t done = before + end - first;
                fill(out + done * elementSize, size[0] - done);
            } else {
                fill(out, size[0]);
            }
            out += size[0] * elementSize;
        }
    ztfree(data);
    data = result;
    for (int i = 0; i < 3; ++i)
        dims[i] = static_cast<int>(size[i]);
    return 1;
}
