// The allocator's account with the system: what it reserves and what time it is; tests can limit
// the one and set the other ahead.
#pragma once

#include <ztlib/ZtExport.h>

#include <cstddef>

namespace pool {

/// Reserves address space in whole pages, aligned to a power of two; null when there is none. The
/// pages are not committed.
void* reserve(std::size_t size, std::size_t alignment);

/// Reserves and commits.
void* reserveCommitted(std::size_t size, std::size_t alignment);

/// Gives up what `reserve` gave.
void release(void* start, std::size_t size);

/// Makes a committed reservation longer where it is; false when that cannot be done.
bool extend(void* start, std::size_t oldSize, std::size_t newSize);

/// Moves a committed reservation without copying it into a larger one, which takes its place and is
/// then committed; false when that cannot be done.
bool movePages(void* from, std::size_t oldSize, void* to, std::size_t newSize);

/// Milliseconds since some time in the past, in coarse steps: how long free memory is free.
long long now();

/// While it lives, the clock is ahead by that much. One at a time.
class ZTLIB_API ClockAhead {
public:
    explicit ClockAhead(long long milliseconds);
    ~ClockAhead();
    ClockAhead(const ClockAhead&) = delete;
    ClockAhead& operator=(const ClockAhead&) = delete;
};

/// While it lives, the system gives no more than `bytes` beyond what it has given. One at a time.
class ZTLIB_API MemoryLimit {
public:
    explicit MemoryLimit(std::size_t bytes);
    ~MemoryLimit();
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;

    /// Bytes that are reserved now, by all pools.
    static std::size_t reserved();
};

}  // namespace pool
