// Rows of pages, cut from chunks and joined again.
#include "core/pool/PageHeap.h"

#include <bit>
#include <new>

#include "core/pool/SystemPages.h"
#include "platform/PlatformMemory.h"
#include "platform/PlatformPages.h"

namespace pool {

namespace {

// A pool of so many chunks has its further ones on huge pages: blocks at random then miss the
// processor's table of pages less often, and what a chunk holds too little for counts for little.
constexpr unsigned kChunksOnSmallPages = 2;

// The bits of a chunk's pages [start, start + bytes).
std::uint64_t bitsOf(const Chunk* chunk, const char* start, std::size_t bytes) {
    const std::size_t first = static_cast<std::size_t>(start - chunk->start) / kPage;
    const std::size_t count = bytes / kPage;
    const std::uint64_t low = count == 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << count) - 1;
    return low << first;
}

std::size_t bytesOfBits(std::uint64_t bits) {
    return static_cast<std::size_t>(std::popcount(bits)) * kPage;
}

std::size_t dirtyBytesOf(const Span* row) {
    return bytesOfBits(row->chunk->dirty & bitsOf(row->chunk, row->start, row->bytes));
}

const char* endOf(const Chunk* chunk) {
    return chunk->start + kChunkBytes;
}

// The free row that holds the page of an address in the chunk, at one of its ends; or null.
Span* freeRowAt(const Chunk* chunk, const char* address) {
    if (address < chunk->start || address >= endOf(chunk))
        return nullptr;
    const PageEntry entry = pagemap::find(address);
    return (entry & kKindMask) == kFreePages ? spanOf(entry) : nullptr;
}

}  // namespace

Span* PageHeap::allocate(Pool* pool, std::size_t bytes, std::size_t alignment, Place place,
                         bool* isZero) {
    const std::size_t needed = alignment > kPage ? bytes + alignment - kPage : bytes;
    if (needed < bytes || needed > kChunkBytes)
        return nullptr;
    const Locked locked(lock_);
    Span* row = findFree(needed, place);
    if (!row) {
        if (!addChunk(pool, false))
            return nullptr;
        row = findFree(needed, place);
    }
    removeFree(row);
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(row->start);
    const std::size_t offset = (alignment - address % alignment) % alignment;
    if (!cutFront(row, offset) || !cutBack(row, bytes) ||
        !makeDirty(row->chunk, row->start, bytes, isZero)) {
        addJoined(row);
        return nullptr;
    }
    pagemap::set(row->start, row->bytes, 0);
    return row;
}

void PageHeap::free(Span* span) {
    const Locked locked(lock_);
    span->classIndex = 0;
    span->freedAt = now();
    addJoined(span);
}

bool PageHeap::grow(Span* span, std::size_t bytes) {
    const Locked locked(lock_);
    char* const end = span->start + span->bytes;
    const std::size_t more = bytes - span->bytes;
    Span* const behind = freeRowAt(span->chunk, end);
    if (!behind || behind->start != end || behind->bytes < more)
        return false;
    bool isZero;
    removeFree(behind);
    const bool hasGrown = makeDirty(span->chunk, end, more, &isZero);
    if (hasGrown) {
        pagemap::set(end, more, 0);
        behind->start += more;
        behind->bytes -= more;
        span->bytes = bytes;
    }
    if (behind->bytes > 0)
        addFree(behind);
    else
        spans_.keep(behind);
    return hasGrown;
}

bool PageHeap::shrink(Span* span, std::size_t bytes) {
    const Locked locked(lock_);
    return cutBack(span, bytes);
}

bool PageHeap::reserveFor(Pool* pool, std::size_t bytes) {
    const Locked locked(lock_);
    for (std::size_t done = 0; done < bytes; done += kChunkBytes)
        if (!addChunk(pool, true))
            return false;
    return true;
}

std::size_t PageHeap::giveBack(std::size_t keep, long long latest) {
    const Locked locked(lock_);
    std::size_t given = 0;
    for (std::size_t pages = kChunkPages; pages > 0; --pages)
        for (Span* row = free_[pages].first; row;) {
            if (freeBytes() <= keep)
                return given;
            Span* const next = row->next;
            if (row->freedAt <= latest) {
                given += clean(row);
                if (pages == kChunkPages && !row->chunk->isReserved)
                    releaseChunk(row);
            }
            row = next;
        }
    return given;
}

void PageHeap::releaseAll() {
    for (const Chunk* chunk = chunks_; chunk; chunk = chunk->next) {
        pagemap::set(chunk->start, kChunkBytes, 0);
        release(chunk->start, kChunkBytes);
    }
}

Span* PageHeap::findFree(std::size_t bytes, Place place) const {
    const std::uint64_t lengths = freeLengths_ & (~std::uint64_t{0} << (bytes / kPage - 1));
    if (lengths == 0)
        return nullptr;
    const int bit = place == kTight ? std::countr_zero(lengths) : 63 - std::countl_zero(lengths);
    return free_[bit + 1].first;
}

bool PageHeap::addChunk(Pool* pool, bool isReserved) {
    Chunk* chunk = keptChunks_;
    if (chunk)
        keptChunks_ = chunk->next;
    else
        chunk = static_cast<Chunk*>(arena_.take(sizeof(Chunk), alignof(Chunk)));
    if (!chunk)
        return false;
    const bool onHugePages =
        chunkCount_ >= kChunksOnSmallPages && kChunkBytes % platform::kHugePage == 0;
    void* const start = reserve(kChunkBytes, onHugePages ? platform::kHugePage : kPage);
    Span* const row = start && pagemap::prepare(start, kChunkBytes)
                          ? spans_.make(pool, start, kChunkBytes, chunk)
                          : nullptr;
    if (!row) {
        if (start)
            release(start, kChunkBytes);
        keepChunk(chunk);
        return false;
    }
    new (chunk) Chunk{static_cast<char*>(start), 0, onHugePages, isReserved, chunks_, nullptr};
    if (onHugePages)
        platform::adviseHugePages(start, kChunkBytes);
    ++chunkCount_;
    if (chunks_)
        chunks_->previous = chunk;
    chunks_ = chunk;
    addFree(row);
    return true;
}

// Makes the first bytes of a row that is in no list a free row of their own; false when memory for
// the record is exhausted.
bool PageHeap::cutFront(Span* row, std::size_t bytes) {
    if (bytes == 0)
        return true;
    Span* const front = spans_.make(row->pool, row->start, bytes, row->chunk);
    if (!front)
        return false;
    front->freedAt = row->freedAt;
    row->start += bytes;
    row->bytes -= bytes;
    addJoined(front);
    return true;
}

// Makes what is behind the first bytes of such a row a free row.
bool PageHeap::cutBack(Span* row, std::size_t bytes) {
    if (bytes == row->bytes)
        return true;
    Span* const back = spans_.make(row->pool, row->start + bytes, row->bytes - bytes, row->chunk);
    if (!back)
        return false;
    back->freedAt = row->freedAt;
    row->bytes = bytes;
    addJoined(back);
    return true;
}

// Commits what is not committed of a row in use.
bool PageHeap::makeDirty(Chunk* chunk, char* start, std::size_t bytes, bool* isZero) {
    const std::uint64_t bits = bitsOf(chunk, start, bytes);
    const std::uint64_t clean = bits & ~chunk->dirty;
    if (clean != 0 && !platform::commitPages(start, bytes))
        return false;
    chunk->dirty |= bits;
    dirtyBytes_.fetch_add(bytesOfBits(clean), std::memory_order_relaxed);
    *isZero = clean == bits;
    return true;
}

void PageHeap::addFree(Span* row) {
    const PageEntry entry = reinterpret_cast<PageEntry>(row) | kFreePages;
    pagemap::set(row->start, row->bytes, 0);
    pagemap::set(row->start, kPage, entry);
    pagemap::set(row->start + row->bytes - kPage, kPage, entry);
    const std::size_t pages = row->bytes / kPage;
    free_[pages].push(row);
    freeLengths_ |= std::uint64_t{1} << (pages - 1);
    freeDirtyBytes_.fetch_add(dirtyBytesOf(row), std::memory_order_relaxed);
}

void PageHeap::removeFree(Span* row) {
    const std::size_t pages = row->bytes / kPage;
    free_[pages].remove(row);
    if (!free_[pages].first)
        freeLengths_ &= ~(std::uint64_t{1} << (pages - 1));
    pagemap::set(row->start, kPage, 0);
    pagemap::set(row->start + row->bytes - kPage, kPage, 0);
    freeDirtyBytes_.fetch_sub(dirtyBytesOf(row), std::memory_order_relaxed);
}

// Adds a free row, joined with the free rows on both sides.
void PageHeap::addJoined(Span* row) {
    if (Span* const before = freeRowAt(row->chunk, row->start - 1)) {
        removeFree(before);
        row->start = before->start;
        row->bytes += before->bytes;
        spans_.keep(before);
    }
    if (Span* const behind = freeRowAt(row->chunk, row->start + row->bytes)) {
        removeFree(behind);
        row->bytes += behind->bytes;
        spans_.keep(behind);
    }
    addFree(row);
}

// Gives the memory of a free row back; returns the bytes.
std::size_t PageHeap::clean(Span* row) {
    Chunk* const chunk = row->chunk;
    const std::uint64_t bits = chunk->dirty & bitsOf(chunk, row->start, row->bytes);
    if (bits != 0 && chunk->onHugePages && row->bytes < kChunkBytes) {
        platform::refuseHugePages(chunk->start, kChunkBytes);
        chunk->onHugePages = false;
    }
    for (std::uint64_t left = bits; left != 0;) {
        const int first = std::countr_zero(left);
        const int count = std::countr_one(left >> first);
        char* const start = chunk->start + static_cast<std::size_t>(first) * kPage;
        const std::size_t bytes = static_cast<std::size_t>(count) * kPage;
        platform::decommitPages(start, bytes);
        left &= ~bitsOf(chunk, start, bytes);
    }
    const std::size_t given = bytesOfBits(bits);
    chunk->dirty &= ~bits;
    dirtyBytes_.fetch_sub(given, std::memory_order_relaxed);
    freeDirtyBytes_.fetch_sub(given, std::memory_order_relaxed);
    return given;
}

// Keeps the record of a chunk that is gone.
void PageHeap::keepChunk(Chunk* chunk) {
    chunk->next = keptChunks_;
    keptChunks_ = chunk;
}

// Gives up the chunk of a free row that is all of it.
void PageHeap::releaseChunk(Span* row) {
    Chunk* const chunk = row->chunk;
    removeFree(row);
    spans_.keep(row);
    pagemap::set(chunk->start, kChunkBytes, 0);
    release(chunk->start, kChunkBytes);
    (chunk->previous ? chunk->previous->next : chunks_) = chunk->next;
    if (chunk->next)
        chunk->next->previous = chunk->previous;
    --chunkCount_;
    keepChunk(chunk);
}

}  // namespace pool
