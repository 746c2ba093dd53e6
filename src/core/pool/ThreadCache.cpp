// The free blocks that one thread keeps.
#include "core/pool/ThreadCache.h"

#include <cstddef>
#include <utility>

#include "core/pool/Pool.h"

namespace pool {

void* ThreadCache::takeFromOther(Pool& pool, unsigned classIndex) {
    CentralList& central = pool.central(classIndex);
    if (isDisabled_)
        return central.take(pool, classIndex);
    Magazine* const unloaded = unload(classIndex);
    Magazine*& spare = stores_[classIndex].spare;
    if (spare && spare->count > 0) {
        load(classIndex, std::exchange(spare, unloaded));
    } else {
        pool.trimWhatIsOld();
        Magazine* const filled = central.exchangeEmpty(pool, classIndex, unloaded);
        if (!filled)
            return nullptr;
        load(classIndex, filled);
    }
    return take(classIndex);
}

void ThreadCache::putIntoOther(Pool& pool, unsigned classIndex, void* block) {
    CentralList& central = pool.central(classIndex);
    if (isDisabled_) {
        central.put(pool, block);
        return;
    }
    Magazine* const unloaded = unload(classIndex);
    Magazine*& spare = stores_[classIndex].spare;
    Magazine* empty;
    if (unloaded && spare && spare->count == 0)
        empty = std::exchange(spare, unloaded);
    else if (unloaded)
        empty = central.exchangeFull(pool, classIndex, std::exchange(spare, unloaded));
    else
        empty = central.exchangeFull(pool, classIndex, nullptr);
    if (!empty) {
        central.put(pool, block);
        return;
    }
    load(classIndex, empty);
    put(classIndex, block);
}

void ThreadCache::drain(Pool& pool) {
    for (unsigned classIndex = 1; classIndex <= kClasses; ++classIndex) {
        Magazine* const unloaded = unload(classIndex);
        Magazine* const spare = std::exchange(stores_[classIndex].spare, nullptr);
        for (Magazine* magazine : {unloaded, spare})
            if (magazine)
                pool.central(classIndex).keep(pool, classIndex, magazine);
    }
}

void ThreadCache::disable(Pool& pool) {
    drain(pool);
    isDisabled_ = true;
}

void ThreadCache::load(unsigned classIndex, Magazine* magazine) {
    stores_[classIndex].loaded = magazine;
    void** const slots = magazine->slots;
    lists_[classIndex] = {slots + magazine->count, slots + magazineOfClass(classIndex)};
}

// Takes the loaded magazine away, if there is one, and notes what it holds.
Magazine* ThreadCache::unload(unsigned classIndex) {
    Magazine* const magazine = std::exchange(stores_[classIndex].loaded, nullptr);
    List& list = lists_[classIndex];
    if (magazine)
        magazine->count = static_cast<std::size_t>(list.top - magazine->slots);
    list = {const_cast<void**>(kNoSlots), const_cast<void**>(kNoSlots)};
    return magazine;
}

}  // namespace pool
