// The pools there are, and the caches that each thread has for them.
#pragma once

#include <atomic>
#include <cstddef>

#include "core/pool/Pool.h"
#include "core/pool/ThreadCache.h"
#include "platform/PlatformThread.h"

namespace pool {

/// Pools that can be at a time, the default one included.
inline constexpr unsigned kMostPools = 4096;

extern Pool defaultPool;

/// A thread's caches. The calling thread's own is found through its word of storage. Other threads
/// look at it only when they destroy a pool, under the registry's lock.
struct ThreadState {
    ThreadCache cache;                            ///< for the default pool
    std::atomic<ThreadCache*>* others = nullptr;  ///< for the others, by their index; may be null
    unsigned otherCount = 0;
    ThreadState* next = nullptr;
    ThreadState* previous = nullptr;

    /// The calling thread's, or null when it has none yet.
    static ThreadState* current() { return static_cast<ThreadState*>(platform::threadWord()); }

    /// Its cache for a pool, or null when there is none yet.
    ThreadCache* cacheFor(const Pool& pool) {
        // By the address, which the compiler knows where the default pool is asked.
        if (&pool == &defaultPool)
            return &cache;
        const unsigned index = pool.index();
        return index < otherCount ? others[index].load(std::memory_order_relaxed) : nullptr;
    }
};

/// The calling thread's cache for a pool, made if need be; null when memory is exhausted, or when
/// the thread has passed the point at which its caches were taken from it.
ThreadCache* cacheFor(Pool& pool);

/// Makes a pool with address space for `capacity` bytes; null when memory is exhausted or there are
/// `kMostPools`.
Pool* createPool(std::size_t capacity);

/// Takes a pool from all threads and destroys it. Expects that none uses it any more.
void destroyPool(Pool& pool);

/// Gives back what all pools and the calling thread's caches keep: memory has run out. Returns
/// whether there was any.
bool giveBackEverything();

}  // namespace pool
