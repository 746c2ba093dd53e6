// A row of pages with one purpose: free, cut into small blocks, or one block.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace pool {

class Pool;
struct Chunk;

/// Whether blocks in use are marked, so that a block is known from any other address.
#if defined(ZTLIB_CHECKED)
inline constexpr bool kMarksBlocks = true;
#else
inline constexpr bool kMarksBlocks = false;
#endif

/// Which blocks of a span are in use.
struct Marks {
    /// Any thread may call these.
    void set(std::size_t index) {
        words[index / 32].fetch_or(1u << index % 32, std::memory_order_relaxed);
    }
    bool isSet(std::size_t index) const {
        return words[index / 32].load(std::memory_order_relaxed) >> index % 32 & 1u;
    }
    /// Takes the mark away; false when there is none.
    bool clear(std::size_t index) {
        return words[index / 32].fetch_and(~(1u << index % 32), std::memory_order_relaxed) >>
                   index % 32 &
               1u;
    }
    void clearAll() {
        for (auto& word : words)
            word.store(0, std::memory_order_relaxed);
    }

    std::atomic<std::uint32_t> words[128];
};

/// Aligned so that the page map has room for a kind beside its address.
struct alignas(128) Span {
    Pool* pool;
    char* start;
    std::size_t bytes;
    Chunk* chunk;  ///< null for a big block, which has its pages from the system alone
    Span* next;
    Span* previous;
    long long freedAt;
    Marks* marks;  ///< null where blocks are not marked

    // Of spans that are cut into small blocks:
    unsigned classIndex;  ///< 0 for all others
    unsigned blocks;
    unsigned carved;   ///< blocks that were given out once at least
    unsigned taken;    ///< of them, those that are given out now
    void* freeBlocks;  ///< the others, each pointing to the next
};

/// A list of spans, linked through them.
struct SpanList {
    Span* first = nullptr;

    void push(Span* span) {
        span->previous = nullptr;
        span->next = first;
        if (first)
            first->previous = span;
        first = span;
    }
    void remove(Span* span) {
        (span->previous ? span->previous->next : first) = span->next;
        if (span->next)
            span->next->previous = span->previous;
    }
};

}  // namespace pool
