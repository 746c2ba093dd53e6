// Taking and freeing blocks, the quick way inline.
#pragma once

#include <cstddef>

#include "core/pool/PageMap.h"
#include "core/pool/Pool.h"
#include "core/pool/Threads.h"

namespace pool {

/// Null when memory is exhausted or the size cannot be put in numbers; `errno` is then ENOMEM.
void* allocateSlowly(Pool& pool, std::size_t size);
void* allocateZeros(Pool& pool, std::size_t count, std::size_t size);
void* allocateAligned(Pool& pool, std::size_t alignment, std::size_t size);

/// Resizes a block that is not null to a size that is not 0, in its pool.
void* reallocate(void* block, std::size_t size);

/// Bytes of a block in use.
std::size_t usableSize(void* block);

/// The pool that a block in use is from, or null for one that is no pool's.
Pool* poolOf(const void* block);

/// Frees a block whose entry in the page map is given; what is in no pool is left alone.
void freeSlowly(void* block, PageEntry entry);

// Where blocks are marked (`kMarksBlocks`):
/// Marks a block that is given to a client.
void mark(void* block);
/// Takes the mark away; false when the address is not that of a block in use.
bool unmark(void* block);
/// Whether the address is that of a block in use.
bool isMarked(const void* block);

inline void* allocate(Pool& pool, std::size_t size) {
    if (size <= kLargestSmall)
        if (ThreadState* const state = ThreadState::current())
            if (ThreadCache* const cache = state->cacheFor(pool))
                if (void* const block = cache->take(classOfSize(size))) {
                    if constexpr (kMarksBlocks)
                        mark(block);
                    return block;
                }
    return allocateSlowly(pool, size);
}

/// Frees a block in use, or null, whose mark is taken away already.
inline void free(void* block) {
    const PageEntry entry = pagemap::find(block);
    const PageEntry kind = entry & kKindMask;
    if (kind - 1 < kClasses)
        if (ThreadState* const state = ThreadState::current())
            if (state->cache.put(static_cast<unsigned>(kind), block))
                return;
    freeSlowly(block, entry);
}

}  // namespace pool
