// The registry of pools and threads.
#include "core/pool/Threads.h"

#include <new>

namespace pool {

constinit Pool defaultPool{0};

namespace {

constinit Lock registryLock;
constinit ThreadState* threads = nullptr;
constinit ThreadState* unusedStates = nullptr;
constinit Pool* pools[kMostPools] = {&defaultPool};
constinit bool isWatching = false;

// What the word of a thread points to once its caches were taken from it; destructors that run
// later still find an allocator, though one without a cache.
constinit ThreadState ended;

void drain(ThreadState& state) {
    state.cache.drain(defaultPool);
    for (unsigned index = 1; index < state.otherCount; ++index)
        if (ThreadCache* const cache = state.others[index].load(std::memory_order_relaxed)) {
            cache->drain(*pools[index]);
            pools[index]->keepCache(cache);
            state.others[index].store(nullptr, std::memory_order_relaxed);
        }
}

void threadEnds(void* word) {
    ThreadState* const state = static_cast<ThreadState*>(word);
    if (state == &ended)
        return;
    const Locked locked(registryLock);
    platform::setThreadWord(&ended);
    drain(*state);
    (state->previous ? state->previous->next : threads) = state->next;
    if (state->next)
        state->next->previous = state->previous;
    state->next = unusedStates;
    unusedStates = state;
}

template <class Do>
void forAllPools(Do act) {
    for (Pool* pool : pools)
        if (pool)
            act(*pool);
}

// A fork waits until no other thread is within a lock, so that the child finds everything whole.
// What other threads keep in their caches is lost to the child, which does not have those threads.
void beforeFork() {
    registryLock.lock();
    forAllPools([](Pool& pool) { pool.lockAll(); });
    pagemap::lock();
}

void afterForkInParent() {
    pagemap::unlock();
    forAllPools([](Pool& pool) { pool.unlockAll(); });
    registryLock.unlock();
}

void afterForkInChild() {
    ThreadState* const state = ThreadState::current();
    threads = state == &ended ? nullptr : state;
    if (threads) {
        threads->next = nullptr;
        threads->previous = nullptr;
    }
    afterForkInParent();
}

// Once, with the registry locked.
void watch() {
    if (isWatching)
        return;
    ended.cache.setDisabled();
    isWatching = true;
    platform::watchThreads(threadEnds, beforeFork, afterForkInParent, afterForkInChild);
}

// From the load of the library on: the child of a fork that comes while a thread takes its first
// block, and nobody watches yet, would find the registry locked for good. Static objects of other
// libraries may come first; the first block that they take makes a thread's state.
[[maybe_unused]] const bool isWatchingFromTheStart = [] {
    const Locked locked(registryLock);
    watch();
    return true;
}();

ThreadState* makeState() {
    const Locked locked(registryLock);
    watch();
    ThreadState* state = unusedStates;
    if (state) {
        unusedStates = state->next;
    } else {
        void* const place = defaultPool.arena().take(sizeof(ThreadState), alignof(ThreadState));
        if (!place)
            return nullptr;
        state = new (place) ThreadState;
    }
    state->cache.clear();
    state->previous = nullptr;
    state->next = threads;
    if (threads)
        threads->previous = state;
    threads = state;
    return state;
}

ThreadState* currentState() {
    ThreadState* state = ThreadState::current();
    if (!state && (state = makeState())) {
        platform::setThreadWord(state);
        platform::watchThisThread();
    }
    return state;
}

// Makes room for the cache of the pool with an index; the old room is lost, which doubling bounds.
bool makeRoom(ThreadState& state, unsigned index) {
    if (index < state.otherCount)
        return true;
    unsigned count = 8;
    while (count <= index)
        count *= 2;
    using Slot = std::atomic<ThreadCache*>;
    auto* const others =
        static_cast<Slot*>(defaultPool.arena().take(count * sizeof(Slot), alignof(Slot)));
    if (!others)
        return false;
    for (unsigned i = 0; i < count; ++i)
        new (&others[i])
            Slot(i < state.otherCount ? state.others[i].load(std::memory_order_relaxed) : nullptr);
    state.others = others;
    state.otherCount = count;
    return true;
}

}  // namespace

ThreadCache* cacheFor(Pool& pool) {
    ThreadState* const state = currentState();
    if (!state || state == &ended)
        return nullptr;
    if (ThreadCache* const cache = state->cacheFor(pool))
        return cache;
    const Locked locked(registryLock);
    if (!makeRoom(*state, pool.index()))
        return nullptr;
    ThreadCache* const cache = pool.makeCache();
    state->others[pool.index()].store(cache, std::memory_order_relaxed);
    return cache;
}

Pool* createPool(std::size_t capacity) {
    const Locked locked(registryLock);
    for (unsigned index = 1; index < kMostPools; ++index)
        if (!pools[index])
            return pools[index] = Pool::create(index, capacity);
    return nullptr;
}

void destroyPool(Pool& pool) {
    const Locked locked(registryLock);
    const unsigned index = pool.index();
    for (ThreadState* state = threads; state; state = state->next)
        if (index < state->otherCount)
            state->others[index].store(nullptr, std::memory_order_relaxed);
    pools[index] = nullptr;
    pool.destroy();
}

bool giveBackEverything() {
    const Locked locked(registryLock);
    if (ThreadState* const state = ThreadState::current(); state && state != &ended)
        drain(*state);
    bool hasGiven = false;
    forAllPools([&](Pool& pool) { hasGiven = pool.trim(0) || hasGiven; });
    return hasGiven;
}

}  // namespace pool
