// The growable array's memory, and its instance for characters.
#include <ztlib/ZtDArray.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>

#include "platform/PlatformMemory.h"

namespace zt_detail {

namespace {

// Blocks up to the most of these sizes are asked for larger than needed, and arrays then grow in
// them: each of the first steps of growth, 1, 2, 3, 4, 6 elements, would cost a call of the heap.
constexpr std::size_t kLeastBlock = 64;
constexpr std::size_t kMostRounded = 4096;
// Blocks up to this size are served faster by size than they are resized.
constexpr std::size_t kMostMoved = 512;
// What the heap keeps before each block.
constexpr std::size_t kHeapHeader = sizeof(std::size_t);

// Rounds to a power of two; an array that has begun to grow by halves gets room for two steps more.
std::size_t roundedUp(std::size_t bytes, bool grewByHalf) {
    if (bytes + kHeapHeader > kMostRounded)
        return bytes;
    if (grewByHalf && bytes >= kLeastBlock)
        return bytes * 9 / 4;
    return std::bit_ceil(std::max(bytes + kHeapHeader, kLeastBlock)) - kHeapHeader;
}

std::size_t bytesFor(long long count, std::size_t elementSize) {
    std::size_t bytes;
    if (count > INT_MAX ||
        __builtin_mul_overflow(static_cast<std::size_t>(count), elementSize, &bytes))
        ztThrowMemoryException(SIZE_MAX);
    return bytes;
}

// Returns a block of `bytes` or more with what the first `used` bytes of the other hold, whose size
// is `held`. Out of line, since many steps of growth do without.
__attribute__((noinline)) void* enlarged(void* data, std::size_t used, std::size_t held,
                                         std::size_t bytes, bool grewByHalf) {
    const std::size_t block = roundedUp(bytes, grewByHalf);
    if (!data)
        return ztmalloc(block);
    if (bytes > kMostMoved)
        return ztrealloc(data, block);
    void* const moved = ztmalloc(block);
    std::memcpy(moved, data, std::min(held, used));
    ztfree(data);
    return moved;
}

}  // namespace

ArrayBuffer ArrayMemory::grow(void* data, int size, long long needed, std::size_t elementSize) {
    const long long half = size + size / 2LL;
    const long long capacity = std::max(needed, half);
    const std::size_t bytes = bytesFor(capacity, elementSize);
    const int max = static_cast<int>(capacity);
    const std::size_t held = data ? platform::usableSize(data) : 0;
    if (bytes <= held)
        return {data, max};
    const std::size_t used = static_cast<std::size_t>(size) * elementSize;
    return {enlarged(data, used, held, bytes, needed < half), max};
}

ArrayBuffer ArrayMemory::growByOne(void* data, int size, std::size_t elementSize) {
    return grow(data, size, size + 1LL, elementSize);
}

ArrayBuffer ArrayMemory::setMax(void* data, int newMax, std::size_t elementSize) {
    if (newMax > 0)
        return {ztrealloc(data, bytesFor(newMax, elementSize)), newMax};
    ztfree(data);
    return {nullptr, 0};
}

void ArrayMemory::rotate(void* data, std::size_t count, std::size_t moved, bool toFront) {
    auto* const bytes = static_cast<unsigned char*>(data);
    const std::size_t others = count - moved;
    void* const saved = ztmalloc(moved);
    if (moved > 0 && toFront) {
        std::memcpy(saved, bytes + others, moved);
        std::memmove(bytes + moved, bytes, others);
        std::memcpy(bytes, saved, moved);
    } else if (moved > 0) {
        std::memcpy(saved, bytes, moved);
        std::memmove(bytes, bytes + moved, others);
        std::memcpy(bytes + others, saved, moved);
    }
    ztfree(saved);
}

}  // namespace zt_detail

template class ZtDArray<char, 1>;
