// Blocks that have their pages from the system each for itself, kept for a while when they are
// free.
#pragma once

#include <atomic>
#include <cstddef>

#include "core/pool/Lock.h"
#include "core/pool/SpanStore.h"

namespace pool {

/// The big blocks of one pool. The system's pages cost a fault and a clearing each when they are
/// first touched, which takes longer than most of what is done with a block; so freed ones are
/// kept, up to a bound, for the next that need as much. Those of several megabytes lie on huge
/// pages where the system has them. Any thread may ask.
class BigBlocks {
public:
    constexpr explicit BigBlocks(SpanStore& spans) : spans_(spans) {}

    /// Returns pages for `bytes` at a multiple of `alignment`, in the page map as one block; null
    /// when memory is exhausted. `isZero` tells whether all bytes are known to be 0.
    Span* allocate(Pool* pool, std::size_t bytes, std::size_t alignment, bool* isZero);

    /// Takes a block back and keeps it, unless that makes more than `mostKept` bytes.
    void free(Span* span, std::size_t mostKept);

    /// Makes a block longer without copying it, at another place if need be; false, with the block
    /// as it was, when that cannot be done.
    bool grow(Span* span, std::size_t bytes);

    /// Gives kept blocks back to the system, the oldest first and none that was freed later than
    /// `latest`, until no more than `keep` bytes are kept. Returns the bytes given back.
    std::size_t giveBack(std::size_t keep, long long latest);

    /// Gives all blocks back, those in use included.
    void releaseAll();

    /// Bytes in use and kept.
    std::size_t bytes() const { return bytes_.load(std::memory_order_relaxed); }
    std::size_t keptBytes() const { return keptBytes_.load(std::memory_order_relaxed); }

    Lock& lock() { return lock_; }

private:
    Span* takeKept(std::size_t bytes, std::size_t alignment);
    Span* oldestKept() const;
    void removeKept(Span* span);
    void releaseSpan(Span* span);

    SpanStore& spans_;
    Lock lock_;
    SpanList used_;
    SpanList kept_;  ///< the newest first
    std::atomic<std::size_t> bytes_{0};
    std::atomic<std::size_t> keptBytes_{0};
};

}  // namespace pool
