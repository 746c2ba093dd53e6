// The free blocks of one class that no thread keeps.
#include "core/pool/CentralList.h"

#include <algorithm>

#include "core/pool/PageMap.h"
#include "core/pool/Pool.h"
#include "core/pool/SizeClasses.h"

namespace pool {

namespace {

// Full magazines beyond these go back to the spans.
constexpr std::size_t kMostFull = 16;

bool isExhausted(const Span& span) {
    return !span.freeBlocks && span.carved == span.blocks;
}

void*& nextOf(void* block) {
    return *static_cast<void**>(block);
}

}  // namespace

Magazine* CentralList::exchangeEmpty(Pool& pool, unsigned classIndex, Magazine* empty) {
    const Locked locked(lock_);
    if (full_) {
        if (empty) {
            empty->next = empty_;
            empty_ = empty;
        }
        return popFull();
    }
    if (!empty)
        empty = emptyMagazine(pool, classIndex);
    if (!empty)
        return nullptr;
    fill(pool, classIndex, *empty, std::max(1u, magazineOfClass(classIndex) / 2));
    if (empty->count > 0)
        return empty;
    empty->next = empty_;
    empty_ = empty;
    return nullptr;
}

Magazine* CentralList::exchangeFull(Pool& pool, unsigned classIndex, Magazine* full) {
    const Locked locked(lock_);
    if (full)
        pushFull(pool, full);
    return emptyMagazine(pool, classIndex);
}

void* CentralList::take(Pool& pool, unsigned classIndex) {
    const Locked locked(lock_);
    if (full_) {
        Magazine& magazine = *full_;
        void* const block = magazine.slots[magazine.count--];
        if (magazine.count == 0) {
            popFull();
            magazine.next = empty_;
            empty_ = &magazine;
        }
        return block;
    }
    return takeFromSpan(pool, classIndex);
}

void CentralList::put(Pool& pool, void* block) {
    const Locked locked(lock_);
    putIntoSpan(pool, block);
}

void CentralList::keep(Pool& pool, unsigned classIndex, Magazine* magazine) {
    const Locked locked(lock_);
    if (magazine->count == magazineOfClass(classIndex)) {
        pushFull(pool, magazine);
        return;
    }
    putBack(pool, *magazine);
    magazine->next = empty_;
    empty_ = magazine;
}

void CentralList::emptyMagazines(Pool& pool, bool all) {
    const Locked locked(lock_);
    const std::size_t unneeded = all ? fullCount_ : fewestFull_;
    for (std::size_t i = 0; i < unneeded; ++i) {
        Magazine* const magazine = popFull();
        putBack(pool, *magazine);
        magazine->next = empty_;
        empty_ = magazine;
    }
    fewestFull_ = fullCount_;
}

std::size_t CentralList::blocksOut() {
    const Locked locked(lock_);
    std::size_t inMagazines = 0;
    for (const Magazine* magazine = full_; magazine; magazine = magazine->next)
        inMagazines += magazine->count;
    return taken_ - inMagazines;
}

Magazine* CentralList::emptyMagazine(Pool& pool, unsigned classIndex) {
    Magazine* magazine = empty_;
    if (magazine)
        empty_ = magazine->next;
    else
        magazine = static_cast<Magazine*>(
            pool.arena().take(Magazine::bytesFor(magazineOfClass(classIndex)), alignof(Magazine)));
    return magazine;
}

void CentralList::pushFull(Pool& pool, Magazine* magazine) {
    if (fullCount_ >= kMostFull) {
        putBack(pool, *magazine);
        magazine->next = empty_;
        empty_ = magazine;
        return;
    }
    magazine->next = full_;
    full_ = magazine;
    ++fullCount_;
}

Magazine* CentralList::popFull() {
    Magazine* const magazine = full_;
    full_ = magazine->next;
    --fullCount_;
    fewestFull_ = std::min(fewestFull_, fullCount_);
    return magazine;
}

// Fills an empty magazine so that its blocks come out in the order of their addresses.
void CentralList::fill(Pool& pool, unsigned classIndex, Magazine& magazine, unsigned wanted) {
    unsigned count = 0;
    while (count < wanted) {
        void* const block = takeFromSpan(pool, classIndex);
        if (!block)
            break;
        magazine.slots[++count] = block;
    }
    std::reverse(magazine.slots + 1, magazine.slots + 1 + count);
    magazine.count = count;
}

void CentralList::putBack(Pool& pool, Magazine& magazine) {
    for (; magazine.count > 0; --magazine.count)
        putIntoSpan(pool, magazine.slots[magazine.count]);
}

void* CentralList::takeFromSpan(Pool& pool, unsigned classIndex) {
    Span* span = withFree_.first;
    if (!span) {
        span = pool.makeSmallSpan(classIndex);
        if (!span)
            return nullptr;
        withFree_.push(span);
    }
    void* block = span->freeBlocks;
    if (block)
        span->freeBlocks = nextOf(block);
    else
        block = span->start + span->carved++ * sizeOfClass(classIndex);
    ++span->taken;
    ++taken_;
    if (isExhausted(*span))
        withFree_.remove(span);
    return block;
}

void CentralList::putIntoSpan(Pool& pool, void* block) {
    Span* const span = spanOf(pagemap::find(block));
    const bool wasExhausted = isExhausted(*span);
    nextOf(block) = span->freeBlocks;
    span->freeBlocks = block;
    --span->taken;
    --taken_;
    if (span->taken == 0) {
        if (!wasExhausted)
            withFree_.remove(span);
        pool.freePages(span);
    } else if (wasExhausted) {
        withFree_.push(span);
    }
}

}  // namespace pool
