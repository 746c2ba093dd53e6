// The growable array's memory, and its instance for characters.
#include <ztlib/ZtDArray.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace zt_detail {

void* ArrayMemory::grow(void* data, int& max, int size, long long needed, std::size_t elementSize) {
    const long long capacity = std::max(needed, size + size / 2LL);
    if (capacity > std::numeric_limits<int>::max())
        ztThrowMemoryException(SIZE_MAX);
    return setMax(data, max, static_cast<int>(capacity), elementSize);
}

void* ArrayMemory::setMax(void* data, int& max, int newMax, std::size_t elementSize) {
    const auto count = static_cast<std::size_t>(newMax);
    if (count > SIZE_MAX / elementSize)
        ztThrowMemoryException(SIZE_MAX);
    if (newMax == 0) {
        ztfree(data);
        data = nullptr;
    } else {
        data = ztrealloc(data, count * elementSize);
    }
    max = newMax;
    return data;
}

void ArrayMemory::swapBytes(void* a, void* b, std::size_t count) noexcept {
    auto* const left = static_cast<unsigned char*>(a);
    std::swap_ranges(left, left + (a == b ? 0 : count), static_cast<unsigned char*>(b));
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
