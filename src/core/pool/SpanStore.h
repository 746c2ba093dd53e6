// The records of spans, which are used again and again.
#pragma once

#include <cstddef>

#include "core/pool/Arena.h"
#include "core/pool/Lock.h"
#include "core/pool/Span.h"

namespace pool {

/// Makes and keeps the span records of one pool. Any thread may ask.
class SpanStore {
public:
    constexpr explicit SpanStore(Arena& arena) : arena_(arena) {}

    /// Returns a record for pages of `pool`, or null when memory is exhausted.
    Span* make(Pool* pool, void* start, std::size_t bytes, Chunk* chunk);
    void keep(Span* span);

    Lock& lock() { return lock_; }

private:
    Arena& arena_;
    Lock lock_;
    SpanList kept_;
};

}  // namespace pool
