// The free blocks of one pool that one thread keeps.
#pragma once

#include "core/pool/Magazine.h"
#include "core/pool/SizeClasses.h"

namespace pool {

class Pool;

/// Two magazines for each class, one of them loaded: blocks are taken from its top and freed onto
/// it, so that what was freed last, and is in the processor's cache, is taken first. An empty or
/// full one is exchanged for the other, and then with the pool's central list. Used by
/// its thread alone.
class alignas(64) ThreadCache {
public:
    constexpr ThreadCache() { clear(); }

    /// Forgets all magazines.
    constexpr void clear() {
        for (List& list : lists_)
            list = {const_cast<void**>(kNoSlots), const_cast<void**>(kNoSlots)};
        for (Store& store : stores_)
            store = {nullptr, nullptr};
        isDisabled_ = false;
    }

    /// A block, or null when the loaded magazine is empty.
    void* take(unsigned classIndex) {
        List& list = lists_[classIndex];
        void* const block = *list.top;
        if (__builtin_expect(block != nullptr, true))
            --list.top;
        return block;
    }

    /// Frees a block; false when the loaded magazine is full.
    bool put(unsigned classIndex, void* block) {
        List& list = lists_[classIndex];
        if (__builtin_expect(list.top == list.end, false))
            return false;
        *++list.top = block;
        return true;
    }

    /// The same after another magazine is loaded; null when memory is exhausted.
    void* takeFromOther(Pool& pool, unsigned classIndex);
    void putIntoOther(Pool& pool, unsigned classIndex, void* block);

    /// Gives all blocks to the pool.
    void drain(Pool& pool);

    /// Drains it and keeps no block any more.
    void disable(Pool& pool);
    constexpr void setDisabled() { isDisabled_ = true; }

    ThreadCache* next = nullptr;  ///< of those that a pool keeps for later

private:
    struct List {
        void** top;  ///< the last block, or the null before the first
        void** end;  ///< the last slot
    };
    struct Store {
        Magazine* loaded;
        Magazine* spare;  ///< has no block or is full
    };

    void load(unsigned classIndex, Magazine* magazine);
    Magazine* unload(unsigned classIndex);

    // What a list without a magazine points to: nothing to take, no slot to put into.
    static constexpr void* kNoSlots[1] = {nullptr};

    List lists_[kClasses + 1]{};
    Store stores_[kClasses + 1]{};
    bool isDisabled_ = false;
};

}  // namespace pool
