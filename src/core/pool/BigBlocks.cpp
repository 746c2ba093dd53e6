// Big blocks, each with its pages from the system.
#include "core/pool/BigBlocks.h"

#include <cstdint>

#include "core/pool/PageMap.h"
#include "core/pool/SystemPages.h"
#include "platform/PlatformMemory.h"

namespace pool {

namespace {

// A kept block may be longer than what is wanted by this share of it.
constexpr std::size_t kLargestWaste = 4;

bool fits(const Span* span, std::size_t bytes, std::size_t alignment) {
    return span->bytes >= bytes && span->bytes - bytes <= bytes / kLargestWaste &&
           reinterpret_cast<std::uintptr_t>(span->start) % alignment == 0;
}

std::size_t alignmentFor(std::size_t bytes, std::size_t alignment) {
    const bool onHugePages = sizeof(void*) > 4 && bytes >= platform::kLargeBlock;
    return onHugePages && alignment < platform::kHugePage ? platform::kHugePage : alignment;
}

void enter(const Span* span) {
    pagemap::set(span->start, span->bytes, 0);
    pagemap::set(span->start, kPage, reinterpret_cast<PageEntry>(span) | kOneBlock);
}

}  // namespace

Span* BigBlocks::allocate(Pool* pool, std::size_t bytes, std::size_t alignment, bool* isZero) {
    alignment = alignmentFor(bytes, alignment);
    Span* span = takeKept(bytes, alignment);
    *isZero = !span;
    if (!span) {
        void* const start = reserveCommitted(bytes, alignment);
        if (!start)
            return nullptr;
        span = pagemap::prepare(start, bytes) ? spans_.make(pool, start, bytes, nullptr) : nullptr;
        if (!span) {
            release(start, bytes);
            return nullptr;
        }
        if (bytes >= platform::kLargeBlock)
            platform::adviseHugePages(start, bytes);
        bytes_.fetch_add(bytes, std::memory_order_relaxed);
    }
    enter(span);
    const Locked locked(lock_);
    used_.push(span);
    return span;
}

void BigBlocks::free(Span* span, std::size_t mostKept) {
    pagemap::set(span->start, kPage, 0);
    bool isTooBig;
    {
        const Locked locked(lock_);
        used_.remove(span);
        isTooBig = span->bytes > mostKept;
        if (!isTooBig) {
            span->freedAt = now();
            kept_.push(span);
            keptBytes_.fetch_add(span->bytes, std::memory_order_relaxed);
        }
    }
    if (isTooBig)
        releaseSpan(span);
    else if (keptBytes() > mostKept)
        giveBack(mostKept, now());
}

bool BigBlocks::grow(Span* span, std::size_t bytes) {
    char* start = span->start;
    if (!pagemap::prepare(start, bytes) || !extend(start, span->bytes, bytes)) {
        void* const place = reserve(bytes, alignmentFor(bytes, kPage));
        if (!place)
            return false;
        if (!pagemap::prepare(place, bytes) || !movePages(start, span->bytes, place, bytes)) {
            release(place, bytes);
            return false;
        }
        pagemap::set(start, kPage, 0);
        start = static_cast<char*>(place);
    }
    if (bytes >= platform::kLargeBlock)
        platform::adviseHugePages(start, bytes);
    const Locked locked(lock_);
    bytes_.fetch_add(bytes - span->bytes, std::memory_order_relaxed);
    span->start = start;
    span->bytes = bytes;
    enter(span);
    return true;
}

std::size_t BigBlocks::giveBack(std::size_t keep, long long latest) {
    std::size_t given = 0;
    while (true) {
        Span* span;
        {
            const Locked locked(lock_);
            span = oldestKept();
            if (keptBytes() <= keep || !span || span->freedAt > latest)
                return given;
            removeKept(span);
        }
        given += span->bytes;
        releaseSpan(span);
    }
}

void BigBlocks::releaseAll() {
    for (const SpanList* list : {&used_, &kept_})
        for (const Span* span = list->first; span; span = span->next) {
            pagemap::set(span->start, kPage, 0);
            release(span->start, span->bytes);
        }
}

Span* BigBlocks::takeKept(std::size_t bytes, std::size_t alignment) {
    const Locked locked(lock_);
    Span* best = nullptr;
    for (Span* span = kept_.first; span; span = span->next)
        if (fits(span, bytes, alignment) && (!best || span->bytes < best->bytes))
            best = span;
    if (best)
        removeKept(best);
    return best;
}

Span* BigBlocks::oldestKept() const {
    Span* span = kept_.first;
    while (span && span->next)
        span = span->next;
    return span;
}

void BigBlocks::removeKept(Span* span) {
    kept_.remove(span);
    keptBytes_.fetch_sub(span->bytes, std::memory_order_relaxed);
}

void BigBlocks::releaseSpan(Span* span) {
    release(span->start, span->bytes);
    bytes_.fetch_sub(span->bytes, std::memory_order_relaxed);
    spans_.keep(span);
}

}  // namespace pool
