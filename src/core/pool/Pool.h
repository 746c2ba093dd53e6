// A pool: all that blocks come from and go back to.
#pragma once

#include <atomic>
#include <cstddef>

#include "core/pool/Arena.h"
#include "core/pool/BigBlocks.h"
#include "core/pool/CentralList.h"
#include "core/pool/PageHeap.h"
#include "core/pool/PageMap.h"
#include "core/pool/SpanStore.h"
#include "core/pool/ThreadCache.h"

namespace pool {

/// Small blocks come from the central list of their class, mostly by way of a thread's cache;
/// middle ones are rows of pages; big ones are the system's. Any thread may ask. What only the
/// calling thread's cache can do is the business of the registry (`Threads.h`), which knows the
/// caches.
class Pool {
public:
    /// The default pool has index 0.
    constexpr explicit Pool(unsigned index) : index_(index) {}
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;

    /// Makes a pool with address space for `capacity` bytes; null when memory is exhausted.
    static Pool* create(unsigned index, std::size_t capacity);
    /// Gives everything back, every block in use and the pool itself included. Not for the default
    /// pool.
    void destroy();

    unsigned index() const { return index_; }
    Arena& arena() { return arena_; }
    CentralList& central(unsigned classIndex) { return centrals_[classIndex]; }

    /// A block that is not small, or that is aligned to more than its size class is; null when
    /// memory is exhausted. `isZero` tells whether all bytes are known to be 0.
    Span* allocatePages(std::size_t bytes, std::size_t alignment, PageHeap::Place place,
                        bool* isZero);
    /// Takes the pages of such a block, or of a span of small ones, back.
    void freePages(Span* span);
    /// Makes a block of pages longer or shorter without copying it; false when that cannot be done.
    bool resizePages(Span* span, std::size_t bytes);

    /// A span for small blocks, or null.
    Span* makeSmallSpan(unsigned classIndex);

    /// A cache for one thread, or null. It goes with the pool.
    ThreadCache* makeCache();
    void keepCache(ThreadCache* cache);

    /// Gives free memory back to the system until no more than `keep` bytes of it are left, the
    /// blocks in threads' caches not counted. Returns whether any was given.
    bool trim(std::size_t keep);
    /// Gives back what nobody needed for a while. Cheap when it is not yet time for that.
    void trimWhatIsOld();

    /// How many bytes of free memory are kept, of middle and of big blocks each.
    void setMostKept(std::size_t bytes);

    /// Bytes that the system gave and does not have back.
    std::size_t footprint() const;
    /// Of them, bytes of free pages and blocks.
    std::size_t keptBytes() const { return heap_.freeBytes() + bigBlocks_.keptBytes(); }
    /// Bytes of pages that are not free, the free small blocks in them included.
    std::size_t pageBytesInUse() const { return heap_.bytes() + bigBlocks_.bytes() - keptBytes(); }
    /// Bytes of small blocks that are in use or in threads' caches.
    std::size_t smallBytesOut();

    void setValue(void* value) { value_.store(value, std::memory_order_relaxed); }
    void* value() const { return value_.load(std::memory_order_relaxed); }

    /// All locks of the pool, for a fork.
    void lockAll();
    void unlockAll();

    /// The page-map kind of the pool's small blocks.
    PageEntry smallKind(unsigned classIndex) const {
        return index_ == 0 ? classIndex : kOtherPool + classIndex;
    }

private:
    const unsigned index_;
    Arena arena_;
    SpanStore spans_{arena_};
    PageHeap heap_{arena_, spans_};
    BigBlocks bigBlocks_{spans_};
    CentralList centrals_[kClasses + 1];
    Lock cachesLock_;
    ThreadCache* keptCaches_ = nullptr;
    std::atomic<void*> value_{nullptr};
    std::atomic<std::size_t> mostKept_{kMostKept};
    std::atomic<long long> nextTrim_{0};

    static constexpr std::size_t kMostKept = std::size_t{sizeof(void*) > 4 ? 256 : 64} << 20;
};

}  // namespace pool
