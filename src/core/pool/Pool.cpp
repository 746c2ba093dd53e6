// A pool.
#include "core/pool/Pool.h"

#include <algorithm>
#include <climits>
#include <new>

#include "core/pool/SystemPages.h"

namespace pool {

namespace {

// Free memory that nobody needed for so long goes back, which is looked after so often.
constexpr long long kOldMilliseconds = 4000;
constexpr long long kLookMilliseconds = 1000;

std::size_t wholePages(std::size_t bytes) {
    return (bytes + kPage - 1) / kPage * kPage;
}

}  // namespace

Pool* Pool::create(unsigned index, std::size_t capacity) {
    constexpr std::size_t kHead =
        (Arena::kHead + alignof(Pool) - 1) / alignof(Pool) * alignof(Pool);
    constexpr std::size_t kBlock = kPage;
    static_assert(kHead + sizeof(Pool) < kBlock);
    char* const block = static_cast<char*>(reserveCommitted(kBlock, kPage));
    if (!block)
        return nullptr;
    Pool* const pool = new (block + kHead) Pool(index);
    pool->arena_.adopt(block, kBlock, kHead + sizeof(Pool));
    if (pool->heap_.reserveFor(pool, capacity))
        return pool;
    pool->destroy();
    return nullptr;
}

void Pool::destroy() {
    heap_.releaseAll();
    bigBlocks_.releaseAll();
    arena_.releaseAll();
}

Span* Pool::allocatePages(std::size_t bytes, std::size_t alignment, PageHeap::Place place,
                          bool* isZero) {
    trimWhatIsOld();
    bytes = wholePages(bytes);
    alignment = std::max(alignment, kPage);
    if (bytes <= PageHeap::kLongest && alignment <= PageHeap::kLongest) {
        Span* const span = heap_.allocate(this, bytes, alignment, place, isZero);
        if (span)
            pagemap::set(span->start, kPage, reinterpret_cast<PageEntry>(span) | kOneBlock);
        return span;
    }
    return bigBlocks_.allocate(this, bytes, alignment, isZero);
}

void Pool::freePages(Span* span) {
    const std::size_t mostKept = mostKept_.load(std::memory_order_relaxed);
    if (span->chunk) {
        heap_.free(span);
        if (heap_.freeBytes() > mostKept)
            heap_.giveBack(mostKept / 2, LLONG_MAX);
    } else {
        bigBlocks_.free(span, mostKept);
    }
}

bool Pool::resizePages(Span* span, std::size_t bytes) {
    bytes = wholePages(bytes);
    if (!span->chunk)
        return bytes > span->bytes ? bigBlocks_.grow(span, bytes) : bytes == span->bytes;
    if (bytes == span->bytes)
        return true;
    return bytes > span->bytes ? heap_.grow(span, bytes) : heap_.shrink(span, bytes);
}

Span* Pool::makeSmallSpan(unsigned classIndex) {
    bool isZero;
    Span* const span =
        heap_.allocate(this, pagesOfClass(classIndex) * kPage, kPage, PageHeap::kTight, &isZero);
    if (!span)
        return nullptr;
    span->classIndex = classIndex;
    span->blocks = static_cast<unsigned>(span->bytes / sizeOfClass(classIndex));
    span->carved = 0;
    span->taken = 0;
    span->freeBlocks = nullptr;
    pagemap::set(span->start, span->bytes,
                 reinterpret_cast<PageEntry>(span) | smallKind(classIndex));
    return span;
}

ThreadCache* Pool::makeCache() {
    {
        const Locked locked(cachesLock_);
        if (ThreadCache* const cache = keptCaches_) {
            keptCaches_ = cache->next;
            return new (cache) ThreadCache;
        }
    }
    void* const place = arena_.take(sizeof(ThreadCache), alignof(ThreadCache));
    return place ? new (place) ThreadCache : nullptr;
}

void Pool::keepCache(ThreadCache* cache) {
    const Locked locked(cachesLock_);
    cache->next = keptCaches_;
    keptCaches_ = cache;
}

bool Pool::trim(std::size_t keep) {
    for (CentralList& central : centrals_)
        central.emptyMagazines(*this, true);
    const std::size_t heapKept = std::min(keep, heap_.freeBytes());
    const std::size_t given =
        heap_.giveBack(heapKept, LLONG_MAX) + bigBlocks_.giveBack(keep - heapKept, LLONG_MAX);
    return given > 0;
}

void Pool::trimWhatIsOld() {
    const long long time = now();
    long long next = nextTrim_.load(std::memory_order_relaxed);
    if (time < next || !nextTrim_.compare_exchange_strong(next, time + kLookMilliseconds,
                                                          std::memory_order_relaxed))
        return;
    for (CentralList& central : centrals_)
        central.emptyMagazines(*this, false);
    heap_.giveBack(0, time - kOldMilliseconds);
    bigBlocks_.giveBack(0, time - kOldMilliseconds);
}

void Pool::setMostKept(std::size_t bytes) {
    mostKept_.store(bytes, std::memory_order_relaxed);
    heap_.giveBack(bytes, LLONG_MAX);
    bigBlocks_.giveBack(bytes, LLONG_MAX);
}

std::size_t Pool::footprint() const {
    return arena_.bytes() + heap_.bytes() + bigBlocks_.bytes();
}

std::size_t Pool::smallBytesOut() {
    std::size_t bytes = 0;
    for (unsigned classIndex = 1; classIndex <= kClasses; ++classIndex)
        bytes += centrals_[classIndex].blocksOut() * sizeOfClass(classIndex);
    return bytes;
}

void Pool::lockAll() {
    for (CentralList& central : centrals_)
        central.lock().lock();
    heap_.lock().lock();
    bigBlocks_.lock().lock();
    spans_.lock().lock();
    cachesLock_.lock();
    arena_.lock().lock();
}

void Pool::unlockAll() {
    arena_.lock().unlock();
    cachesLock_.unlock();
    spans_.lock().unlock();
    bigBlocks_.lock().unlock();
    heap_.lock().unlock();
    for (CentralList& central : centrals_)
        central.lock().unlock();
}

}  // namespace pool
