// Taking, resizing and freeing blocks.
#include "core/pool/Blocks.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>

namespace pool {

namespace {

// Beyond this, differences of addresses have no type.
constexpr std::size_t kLargest = static_cast<std::size_t>(PTRDIFF_MAX) - (std::size_t{4} << 20);

// A block keeps its place when it shrinks to no less than this share of it, or is no longer than
// this.
constexpr std::size_t kLeastShare = 2;
constexpr std::size_t kAlwaysKept = 64;

void* outOfMemory() {
    errno = ENOMEM;
    return nullptr;
}

// Asks, and when memory is exhausted gives back what is kept and asks once more.
template <class Ask>
auto askTwice(Ask ask) {
    auto answer = ask();
    return !answer && giveBackEverything() ? ask() : answer;
}

void* marked(void* block) {
    if constexpr (kMarksBlocks)
        if (block)
            mark(block);
    return block;
}

void* takeSmall(Pool& pool, unsigned classIndex) {
    void* const block = askTwice([&]() -> void* {
        ThreadCache* const cache = cacheFor(pool);
        if (!cache)
            return pool.central(classIndex).take(pool, classIndex);
        void* const cached = cache->take(classIndex);
        return cached ? cached : cache->takeFromOther(pool, classIndex);
    });
    return block ? marked(block) : outOfMemory();
}

void* takePages(Pool& pool, std::size_t bytes, std::size_t alignment,
                PageHeap::Place place = PageHeap::kTight, bool* isZero = nullptr) {
    bool isZeroHere = false;
    if (bytes > kLargest || alignment > kLargest)
        return outOfMemory();
    Span* const span =
        askTwice([&] { return pool.allocatePages(bytes, alignment, place, &isZeroHere); });
    if (!span)
        return outOfMemory();
    if (isZero)
        *isZero = isZeroHere;
    return marked(span->start);
}

// A block for one that has outgrown its place, with room to grow on when that can be had: a small
// block of twice the size, or a row of pages with free ones behind it.
void* takeRoomFor(Pool& pool, std::size_t size) {
    if (size > kLargestSmall)
        return takePages(pool, size, kPage, PageHeap::kRoomToGrow);
    void* const block = allocate(pool, std::min(2 * size, kLargestSmall));
    return block ? block : allocate(pool, size);
}

bool isSmall(PageEntry entry) {
    return (entry & kKindMask) != kOneBlock;
}

// Whether the block can be resized without a move; then it is.
bool resizeInPlace(PageEntry entry, std::size_t size) {
    Span* const span = spanOf(entry);
    const std::size_t usable = isSmall(entry) ? sizeOfClass(span->classIndex) : span->bytes;
    if (size <= usable && (size >= usable / kLeastShare || usable <= kAlwaysKept))
        return true;
    return !isSmall(entry) && size > kLargestSmall && span->pool->resizePages(span, size);
}

// The number of the block at an address within its span, or -1 when none starts there.
std::ptrdiff_t indexOf(const void* block, PageEntry entry) {
    const PageEntry kind = entry & kKindMask;
    if (kind == 0 || kind == kFreePages)
        return -1;
    const Span* const span = spanOf(entry);
    const auto offset = static_cast<std::size_t>(static_cast<const char*>(block) - span->start);
    const std::size_t size = isSmall(entry) ? sizeOfClass(span->classIndex) : span->bytes;
    return offset % size == 0 ? static_cast<std::ptrdiff_t>(offset / size) : -1;
}

}  // namespace

void* allocateSlowly(Pool& pool, std::size_t size) {
    return size <= kLargestSmall ? takeSmall(pool, classOfSize(size))
                                 : takePages(pool, size, kPage);
}

void* allocateZeros(Pool& pool, std::size_t count, std::size_t size) {
    if (size != 0 && count > kLargest / size)
        return outOfMemory();
    const std::size_t bytes = count * size;
    bool isZero = false;
    void* const block = bytes <= kLargestSmall
                            ? allocate(pool, bytes)
                            : takePages(pool, bytes, kPage, PageHeap::kTight, &isZero);
    if (block && !isZero)
        std::memset(block, 0, bytes);
    return block;
}

void* allocateAligned(Pool& pool, std::size_t alignment, std::size_t size) {
    if (alignment > kLargest)
        return outOfMemory();
    alignment = std::bit_ceil(std::max(alignment, kGranule));
    if (alignment == kGranule)
        return allocate(pool, size);
    if (std::max(alignment, size) > kLargestSmall)
        return takePages(pool, std::max(size, std::size_t{1}), alignment);
    // Spans start at multiples of 64 KiB: a class whose size is a multiple serves.
    unsigned classIndex = classOfSize(std::max(alignment, size));
    while (sizeOfClass(classIndex) % alignment != 0)
        ++classIndex;
    return allocate(pool, sizeOfClass(classIndex));
}

void* reallocate(void* block, std::size_t size) {
    const PageEntry entry = pagemap::find(block);
    if (size > kLargest)
        return outOfMemory();
    char* const before = spanOf(entry)->start;
    if (resizeInPlace(entry, size)) {
        // A big block may lie elsewhere, as a whole.
        return isSmall(entry) ? block : static_cast<char*>(block) + (spanOf(entry)->start - before);
    }
    const std::size_t usable = usableSize(block);
    Pool& pool = *spanOf(entry)->pool;
    void* const fresh = size > usable ? takeRoomFor(pool, size) : allocate(pool, size);
    if (!fresh)
        return nullptr;
    std::memcpy(fresh, block, std::min(size, usable));
    if constexpr (kMarksBlocks)
        unmark(block);
    free(block);
    return fresh;
}

std::size_t usableSize(void* block) {
    const PageEntry entry = pagemap::find(block);
    if ((entry & kKindMask) == 0 || (entry & kKindMask) == kFreePages)
        return 0;
    const Span* const span = spanOf(entry);
    return isSmall(entry) ? sizeOfClass(span->classIndex) : span->bytes;
}

Pool* poolOf(const void* block) {
    const PageEntry entry = pagemap::find(block);
    const PageEntry kind = entry & kKindMask;
    return kind == 0 || kind == kFreePages ? nullptr : spanOf(entry)->pool;
}

void freeSlowly(void* block, PageEntry entry) {
    const PageEntry kind = entry & kKindMask;
    if (kind == 0 || kind == kFreePages)
        return;
    Span* const span = spanOf(entry);
    Pool& pool = *span->pool;
    if (kind == kOneBlock) {
        pool.trimWhatIsOld();
        pool.freePages(span);
        return;
    }
    const unsigned classIndex = span->classIndex;
    ThreadCache* const cache = cacheFor(pool);
    if (!cache)
        pool.central(classIndex).put(pool, block);
    else if (!cache->put(classIndex, block))
        cache->putIntoOther(pool, classIndex, block);
}

void mark(void* block) {
    const PageEntry entry = pagemap::find(block);
    spanOf(entry)->marks->set(static_cast<std::size_t>(indexOf(block, entry)));
}

bool unmark(void* block) {
    const PageEntry entry = pagemap::find(block);
    const std::ptrdiff_t index = indexOf(block, entry);
    return index >= 0 && spanOf(entry)->marks->clear(static_cast<std::size_t>(index));
}

bool isMarked(const void* block) {
    const PageEntry entry = pagemap::find(block);
    const std::ptrdiff_t index = indexOf(block, entry);
    return index >= 0 && spanOf(entry)->marks->isSet(static_cast<std::size_t>(index));
}

}  // namespace pool
