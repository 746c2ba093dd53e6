// The pooled allocator's plain functions.
#include <ztlib/ZtContract.h>
#include <ztlib/ZtPooledAllocator.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>

#include "core/pool/Blocks.h"

namespace {

pool::Pool& poolOrDefault(nedpool* pool) {
    return pool ? *reinterpret_cast<pool::Pool*>(pool) : pool::defaultPool;
}

// Blocks for `sizeOf(i)` bytes each, by `take`, or none at all.
template <class SizeOf, class Take>
void** takeAll(pool::Pool& pool, std::size_t count, void** chunks, SizeOf sizeOf, Take take) {
    if (count > SIZE_MAX / sizeof(void*)) {
        errno = ENOMEM;
        return nullptr;
    }
    void** const blocks =
        chunks ? chunks : static_cast<void**>(pool::allocate(pool, count * sizeof(void*)));
    if (!blocks)
        return nullptr;
    for (std::size_t i = 0; i < count; ++i) {
        blocks[i] = take(sizeOf(i));
        if (blocks[i])
            continue;
        while (i > 0)
            nedfree(blocks[--i]);
        if (!chunks)
            nedfree(blocks);
        return nullptr;
    }
    return blocks;
}

}  // namespace

void* nedmalloc(std::size_t size) {
    return pool::allocate(pool::defaultPool, size);
}

void* nedpmalloc(nedpool* pool, std::size_t size) {
    return pool::allocate(poolOrDefault(pool), size);
}

void* nedcalloc(std::size_t count, std::size_t size) {
    return pool::allocateZeros(pool::defaultPool, count, size);
}

void* nedpcalloc(nedpool* pool, std::size_t count, std::size_t size) {
    return pool::allocateZeros(poolOrDefault(pool), count, size);
}

void* nedrealloc(void* block, std::size_t size) {
    return nedprealloc(nullptr, block, size);
}

void* nedprealloc(nedpool* pool, void* block, std::size_t size) {
    if (!block)
        return nedpmalloc(pool, size);
    if (size == 0) {
        nedfree(block);
        return nullptr;
    }
    if constexpr (pool::kMarksBlocks) {
        const bool isBlockInUse = pool::isMarked(block);
        ZT_REQUIRE(isBlockInUse);
        if (!isBlockInUse)
            return nullptr;
    }
    return pool::reallocate(block, size);
}

void nedfree(void* block) {
    if constexpr (pool::kMarksBlocks) {
        const bool isBlockInUse = !block || pool::unmark(block);
        ZT_REQUIRE(isBlockInUse);
        if (!isBlockInUse)
            return;
    }
    pool::free(block);
}

void nedpfree([[maybe_unused]] nedpool* pool, void* block) {
    ZT_REQUIRE(!block || pool::poolOf(block) == &poolOrDefault(pool));
    nedfree(block);
}

void* nedmemalign(std::size_t alignment, std::size_t size) {
    return pool::allocateAligned(pool::defaultPool, alignment, size);
}

void* nedpmemalign(nedpool* pool, std::size_t alignment, std::size_t size) {
    return pool::allocateAligned(poolOrDefault(pool), alignment, size);
}

int nedmallopt(int parameter, int value) {
    return nedpmallopt(nullptr, parameter, value);
}

int nedpmallopt(nedpool* pool, int parameter, int value) {
    constexpr int kMostKept = -1;
    if (parameter != kMostKept)
        return 0;
    poolOrDefault(pool).setMostKept(value < 0 ? SIZE_MAX : static_cast<std::size_t>(value));
    return 1;
}

int nedmalloc_trim(std::size_t pad) {
    return nedpmalloc_trim(nullptr, pad);
}

int nedpmalloc_trim(nedpool* pool, std::size_t pad) {
    pool::Pool& trimmed = poolOrDefault(pool);
    if (pool::ThreadCache* const cache = pool::cacheFor(trimmed))
        cache->drain(trimmed);
    return trimmed.trim(pad) ? 1 : 0;
}

void nedmalloc_stats() {
    nedpmalloc_stats(nullptr);
}

void nedpmalloc_stats(nedpool* pool) {
    pool::Pool& shown = poolOrDefault(pool);
    const auto number = [](std::size_t bytes) { return static_cast<unsigned long long>(bytes); };
    std::fprintf(stderr,
                 "bytes from the system:   %12llu\n"
                 "in pages of blocks:      %12llu\n"
                 "in free pages:           %12llu\n"
                 "in small blocks in use:  %12llu (what threads keep included)\n",
                 number(shown.footprint()), number(shown.pageBytesInUse()),
                 number(shown.keptBytes()), number(shown.smallBytesOut()));
}

std::size_t nedmalloc_footprint() {
    return pool::defaultPool.footprint();
}

std::size_t nedpmalloc_footprint(nedpool* pool) {
    return poolOrDefault(pool).footprint();
}

void** nedindependent_calloc(std::size_t count, std::size_t size, void** chunks) {
    return nedpindependent_calloc(nullptr, count, size, chunks);
}

void** nedpindependent_calloc(nedpool* pool, std::size_t count, std::size_t size, void** chunks) {
    if (size != 0 && count > SIZE_MAX / size) {
        errno = ENOMEM;
        return nullptr;
    }
    return takeAll(
        poolOrDefault(pool), count, chunks, [size](std::size_t) { return size; },
        [pool](std::size_t bytes) { return nedpcalloc(pool, 1, bytes); });
}

void** nedindependent_comalloc(std::size_t count, std::size_t* sizes, void** chunks) {
    return nedpindependent_comalloc(nullptr, count, sizes, chunks);
}

void** nedpindependent_comalloc(nedpool* pool, std::size_t count, std::size_t* sizes,
                                void** chunks) {
    return takeAll(
        poolOrDefault(pool), count, chunks, [sizes](std::size_t i) { return sizes[i]; },
        [pool](std::size_t bytes) { return nedpmalloc(pool, bytes); });
}

std::size_t nedblksize(void* block) {
    ZT_REQUIRE(!block || pool::isMarked(block));
    return pool::usableSize(block);
}

void nedsetvalue(void* value) {
    pool::defaultPool.setValue(value);
}

void nedpsetvalue(nedpool* pool, void* value) {
    poolOrDefault(pool).setValue(value);
}

void* nedgetvalue(void* block) {
    ZT_REQUIRE(!block || pool::isMarked(block));
    const pool::Pool* const owner = block ? pool::poolOf(block) : &pool::defaultPool;
    return owner ? owner->value() : nullptr;
}

void neddisablethreadcache(nedpool* pool) {
    pool::Pool& shared = poolOrDefault(pool);
    if (pool::ThreadCache* const cache = pool::cacheFor(shared))
        cache->disable(shared);
}

nedpool* nedcreatepool(std::size_t capacity, int) {
    return reinterpret_cast<nedpool*>(pool::createPool(capacity));
}

void neddestroypool(nedpool* pool) {
    if (pool && &poolOrDefault(pool) != &pool::defaultPool)
        pool::destroyPool(poolOrDefault(pool));
}
