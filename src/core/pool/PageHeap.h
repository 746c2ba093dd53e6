// Rows of pages up to half a chunk, cut from chunks and joined again.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "core/pool/Arena.h"
#include "core/pool/Lock.h"
#include "core/pool/PageMap.h"
#include "core/pool/SpanStore.h"

namespace pool {

inline constexpr std::size_t kChunkPages = sizeof(void*) > 4 ? 64 : 16;
inline constexpr std::size_t kChunkBytes = kChunkPages * kPage;

/// What the system is asked for at a time.
struct Chunk {
    char* start;
    std::uint64_t dirty;  ///< one bit for each page whose memory the system does not have back
    bool onHugePages;     ///< until memory within it is given back
    bool isReserved;  ///< was asked for when the pool was made, and is not given up before it is
    Chunk* next;
    Chunk* previous;
};

/// The pages of one pool's small and middle blocks. A row that is wanted is cut from the shortest
/// free one that holds it, and a freed one is joined with its free neighbours. Any thread may ask.
class PageHeap {
public:
    constexpr PageHeap(Arena& arena, SpanStore& spans) : arena_(arena), spans_(spans) {}

    /// The longest row there is.
    static constexpr std::size_t kLongest = kChunkBytes / 2;

    /// Where a row is to lie.
    enum Place {
        kTight,      ///< in the shortest free row
        kRoomToGrow  ///< in the longest, so that it can grow where it is
    };

    /// Returns a row of `bytes`, whole pages, that starts at a multiple of `alignment`, or null
    /// when memory is exhausted or no chunk could hold it. The kind is entered for the first page
    /// or for all. `isZero` tells whether all bytes are known to be 0.
    Span* allocate(Pool* pool, std::size_t bytes, std::size_t alignment, Place place, bool* isZero);
    void enterKind(Span* span, PageEntry kind, bool allPages);

    /// Takes a row back.
    void free(Span* span);

    /// Makes a row longer without moving it; false when the pages behind it are not free.
    bool grow(Span* span, std::size_t bytes);
    /// Gives up the pages of a row behind the first `bytes`; false, with nothing done, when memory
    /// for the record is exhausted.
    bool shrink(Span* span, std::size_t bytes);

    /// Reserves chunks for that many bytes until the pool goes; false when there is no such space.
    bool reserveFor(Pool* pool, std::size_t bytes);

    /// Gives the memory of free rows back to the system, of long ones first and of none that was
    /// freed later than `latest`, until no more than `keep` bytes of free rows have any. Returns
    /// the bytes given back.
    std::size_t giveBack(std::size_t keep, long long latest);

    /// Gives everything back, rows in use included.
    void releaseAll();

    /// Bytes in use and free, of which the system does not have the memory back.
    std::size_t bytes() const { return dirtyBytes_.load(std::memory_order_relaxed); }
    /// Of them, those of free rows.
    std::size_t freeBytes() const { return freeDirtyBytes_.load(std::memory_order_relaxed); }

    Lock& lock() { return lock_; }

private:
    Span* findFree(std::size_t bytes, Place place) const;
    bool addChunk(Pool* pool, bool isReserved);
    bool cutFront(Span* row, std::size_t bytes);
    bool cutBack(Span* row, std::size_t bytes);
    bool makeDirty(Chunk* chunk, char* start, std::size_t bytes, bool* isZero);
    void addFree(Span* row);
    void removeFree(Span* row);
    void addJoined(Span* row);
    std::size_t clean(Span* row);
    void keepChunk(Chunk* chunk);
    void releaseChunk(Span* row);

    Arena& arena_;
    SpanStore& spans_;
    Lock lock_;
    SpanList free_[kChunkPages + 1];  ///< by pages
    std::uint64_t freeLengths_ = 0;   ///< bit n - 1 is set while there are rows of n pages
    Chunk* chunks_ = nullptr;
    Chunk* keptChunks_ = nullptr;
    unsigned chunkCount_ = 0;
    std::atomic<std::size_t> dirtyBytes_{0};
    std::atomic<std::size_t> freeDirtyBytes_{0};
};

}  // namespace pool
