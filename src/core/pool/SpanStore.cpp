// The records of spans.
#include "core/pool/SpanStore.h"

#include <cstddef>
#include <new>

namespace pool {

Span* SpanStore::make(Pool* pool, void* start, std::size_t bytes, Chunk* chunk) {
    Span* span;
    Marks* marks = nullptr;
    {
        const Locked locked(lock_);
        span = kept_.first;
        if (span) {
            kept_.remove(span);
            marks = span->marks;
        }
    }
    if (!span) {
        span = static_cast<Span*>(arena_.take(sizeof(Span), alignof(Span)));
        if (!span)
            return nullptr;
    }
    if (kMarksBlocks && !marks) {
        void* const place = arena_.take(sizeof(Marks), alignof(Marks));
        if (!place) {
            keep(new (span) Span{});
            return nullptr;
        }
        marks = new (place) Marks{};
    }
    if (marks)
        marks->clearAll();
    new (span) Span{};
    span->pool = pool;
    span->start = static_cast<char*>(start);
    span->bytes = bytes;
    span->chunk = chunk;
    span->marks = marks;
    return span;
}

void SpanStore::keep(Span* span) {
    const Locked locked(lock_);
    kept_.push(span);
}

}  // namespace pool
