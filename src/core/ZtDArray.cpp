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

// Blocks from the least to the most of these sizes are asked for in steps of doubling, and arrays
// then grow inside them: each of the first steps of growth, 1, 2, 3, 4, 6 elements, would cost a
// call of the heap else.
constexpr std::size_t kLeastBlock = 64;
constexpr std::size_t kMostRounded = 4096;
// Blocks up to this size are served faster by size than they are resized.
constexpr std::size_t kMostMoved = 512;
// What the heap keeps before each block.
constexpr std::size_t kHeapHeader = sizeof(std::size_t);

std::size_t roundedUp(std::size_t bytes) {
    if (bytes + kHeapHeader > kMostRounded)
        return bytes;
    return std::bit_ceil(std::max(bytes + kHeapHeader, kLeastBlock)) - kHeapHeader;
}

std::size_t bytesFor(long long count, std::size_t elementSize) {
    std::size_t bytes;
    if (count > INT_MAX ||
        __builtin_mul_overflow(static_cast<std::size_t>(count), elementSize, &bytes))
        ztThrowMemoryException(SIZE_MAX);
    return bytes;
}

}  // namespace

ArrayBuffer ArrayMemory::grow(void* data, int size, long long needed, std::size_t elementSize) {
    const long long capacity = std::max(needed, size + size / 2LL);
    const std::size_t bytes = bytesFor(capacity, elementSize);
    const int max = static_cast<int>(capacity);
    if (!data)
        return {ztmalloc(roundedUp(bytes)), max};
    const std::size_t held = platform::usableSize(data);
    if (bytes <= held)
        return {data, max};
    if (bytes > kMostMoved)
        return {ztrealloc(data, roundedUp(bytes)), max};
    void* const block = ztmalloc(roundedUp(bytes));
    std::memcpy(block, data, std::min(held, static_cast<std::size_t>(size) * elementSize));
    ztfree(data);
    return {block, max};
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
