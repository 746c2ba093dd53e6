// The free blocks of one class that no thread keeps.
#pragma once

#include <cstddef>

#include "core/pool/Lock.h"
#include "core/pool/Magazine.h"
#include "core/pool/Span.h"

namespace pool {

/// Full magazines for threads that run out of blocks, and behind them the spans that blocks come
/// from and, beyond a bound, go back to. A span whose blocks are all back is given up. Any thread
/// may ask.
class alignas(64) CentralList {
public:
    constexpr CentralList() = default;

    /// Returns a magazine with blocks for an empty one, or for null; null when memory is exhausted
    /// (the empty one is then kept here).
    Magazine* exchangeEmpty(Pool& pool, unsigned classIndex, Magazine* empty);

    /// Returns an empty magazine for one with blocks, or for null; null when memory for one is
    /// exhausted.
    Magazine* exchangeFull(Pool& pool, unsigned classIndex, Magazine* full);

    /// One block, without a magazine; null when memory is exhausted.
    void* take(Pool& pool, unsigned classIndex);
    void put(Pool& pool, void* block);

    /// Takes a magazine with any number of blocks for good.
    void keep(Pool& pool, unsigned classIndex, Magazine* magazine);

    /// Gives the blocks of the magazines back to their spans: of all of them, or only of those that
    /// were not needed since the last call.
    void emptyMagazines(Pool& pool, bool all);

    /// Blocks that are given out to clients and to threads' magazines.
    std::size_t blocksOut();

    Lock& lock() { return lock_; }

private:
    Magazine* emptyMagazine(Pool& pool, unsigned classIndex);
    void pushFull(Pool& pool, Magazine* magazine);
    Magazine* popFull();
    void fill(Pool& pool, unsigned classIndex, Magazine& magazine, unsigned wanted);
    void putBack(Pool& pool, Magazine& magazine);
    void* takeFromSpan(Pool& pool, unsigned classIndex);
    void putIntoSpan(Pool& pool, void* block);

    Lock lock_;
    Magazine* full_ = nullptr;
    Magazine* empty_ = nullptr;
    std::size_t fullCount_ = 0;
    std::size_t fewestFull_ = 0;  ///< since magazines were last emptied
    std::size_t taken_ = 0;       ///< blocks that are not in spans
    SpanList withFree_;           ///< spans that have blocks to give
};

}  // namespace pool
