// The growable array's memory, and its instance for characters.
#include <ztlib/ZtDArray.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

namespace zt_detail {

namespace {

// Small arrays lie in blocks of few sizes, and grow inside them: the first steps of growth, 1, 2,
// 3, 4, 6 elements, would cost a call of the heap each, which gives no smaller blocks anyway.
// Checked builds ask for the exact size, so that a sanitizer sees where the capacity ends.
#if defined(ZTLIB_CHECKED)
constexpr bool kHasSmallBlocks = false;
#else
constexpr bool kHasSmallBlocks = true;
#endif
constexpr std::size_t kSmallBlocks[] = {24, 56, 120};

std::size_t blockSize(std::size_t bytes) {
    if (kHasSmallBlocks)
        for (const std::size_t size : kSmallBlocks)
            if (bytes <= size)
                return size;
    return bytes;
}

bool isSmallBlock(std::size_t size) {
    return kHasSmallBlocks && size <= kSmallBlocks[2];
}

/// Changes between two sizes of small blocks. The heap serves them faster by size than it resizes
/// them.
void* moveSmallBlock(void* old, std::size_t oldSize, std::size_t size) {
    void* const block = ztmalloc(size);
    // Constants, so that no call or loop remains.
    if (std::min(oldSize, size) == kSmallBlocks[0])
        std::memcpy(block, old, kSmallBlocks[0]);
    else
        std::memcpy(block, old, kSmallBlocks[1]);
    ztfree(old);
    return block;
}

ArrayBuffer resized(void* data, int max, int newMax, std::size_t elementSize) {
    std::size_t bytes;
    if (__builtin_mul_overflow(static_cast<std::size_t>(newMax), elementSize, &bytes))
        ztThrowMemoryException(SIZE_MAX);
    const std::size_t block = blockSize(bytes);
    if (!data)
        return {ztmalloc(block), newMax};
    if (max > 0 && isSmallBlock(block)) {
        const std::size_t oldBlock = blockSize(static_cast<std::size_t>(max) * elementSize);
        if (block == oldBlock)
            return {data, newMax};
        if (isSmallBlock(oldBlock))
            return {moveSmallBlock(data, oldBlock, block), newMax};
    }
    return {ztrealloc(data, block), newMax};
}

}  // namespace

const int kSmallestBlock = kHasSmallBlocks ? static_cast<int>(kSmallBlocks[0]) : 0;

ArrayBuffer ArrayMemory::grow(void* data, int max, int size, long long needed,
                              std::size_t elementSize) {
    if (max < 0 && ~max >= needed)
        return {data, max};
    const long long capacity = std::max(needed, size + size / 2LL);
    if (capacity > INT_MAX)
        ztThrowMemoryException(SIZE_MAX);
    return resized(data, max, static_cast<int>(capacity), elementSize);
}

ArrayBuffer ArrayMemory::setMax(void* data, int max, int newMax, std::size_t elementSize) {
    if (newMax > 0)
        return resized(data, max, newMax, elementSize);
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
