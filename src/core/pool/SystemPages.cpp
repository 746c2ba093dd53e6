// The account with the system.
#include "core/pool/SystemPages.h"

#include <atomic>

#include "platform/PlatformPages.h"
#include "platform/PlatformThread.h"

namespace pool {

namespace {

constexpr std::size_t kNoLimit = ~std::size_t{0};
std::atomic<std::size_t> total{0};
std::atomic<std::size_t> limit{kNoLimit};
std::atomic<long long> ahead{0};

// Enters `size` bytes into the account, or refuses.
bool enter(std::size_t size) {
    const std::size_t before = total.fetch_add(size, std::memory_order_relaxed);
    if (before + size >= before && before + size <= limit.load(std::memory_order_relaxed))
        return true;
    total.fetch_sub(size, std::memory_order_relaxed);
    return false;
}

void leave(std::size_t size) {
    total.fetch_sub(size, std::memory_order_relaxed);
}

}  // namespace

void* reserve(std::size_t size, std::size_t alignment) {
    if (!enter(size))
        return nullptr;
    void* const start = platform::reservePages(size, alignment);
    if (!start)
        leave(size);
    return start;
}

void* reserveCommitted(std::size_t size, std::size_t alignment) {
    void* const start = reserve(size, alignment);
    if (!start || platform::commitPages(start, size))
        return start;
    release(start, size);
    return nullptr;
}

void release(void* start, std::size_t size) {
    platform::releasePages(start, size);
    leave(size);
}

bool extend(void* start, std::size_t oldSize, std::size_t newSize) {
    if (!enter(newSize - oldSize))
        return false;
    const bool isLonger = platform::extendPages(start, oldSize, newSize);
    if (!isLonger)
        leave(newSize - oldSize);
    return isLonger;
}

bool movePages(void* from, std::size_t oldSize, void* to, std::size_t newSize) {
    const bool isMoved = platform::movePages(from, oldSize, to, newSize);
    if (isMoved)
        leave(oldSize);
    return isMoved;
}

long long now() {
    return platform::coarseMilliseconds() + ahead.load(std::memory_order_relaxed);
}

ClockAhead::ClockAhead(long long milliseconds) {
    ahead = milliseconds;
}

ClockAhead::~ClockAhead() {
    ahead = 0;
}

MemoryLimit::MemoryLimit(std::size_t bytes) {
    limit = total + bytes;
}

MemoryLimit::~MemoryLimit() {
    limit = kNoLimit;
}

std::size_t MemoryLimit::reserved() {
    return total;
}

}  // namespace pool
