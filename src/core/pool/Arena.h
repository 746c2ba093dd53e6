// Memory for the allocator's own records.
#pragma once

#include <atomic>
#include <cstddef>

#include "core/pool/Lock.h"

namespace pool {

/// Deals out pieces that are never given back one by one; whoever is done with a piece keeps it for
/// its next use. All goes with `releaseAll`. Any thread may ask.
class Arena {
public:
    constexpr Arena() = default;

    /// Returns `size` bytes of zeros, aligned to a power of two of at most a page; null when memory
    /// is exhausted.
    void* take(std::size_t size, std::size_t alignment);

    /// Takes over a block of pages, of which the first `used` bytes are in use.
    void adopt(void* block, std::size_t size, std::size_t used);

    /// Gives all blocks back to the system, the arena itself included when it lies in one of them.
    void releaseAll();

    /// Bytes of all blocks.
    std::size_t bytes() const { return bytes_.load(std::memory_order_relaxed); }

    Lock& lock() { return lock_; }

    /// Bytes at the start of each block that are not dealt out.
    static constexpr std::size_t kHead = 64;

private:
    struct Block {
        Block* next;
        std::size_t size;
    };

    Lock lock_;
    Block* blocks_ = nullptr;
    char* free_ = nullptr;
    char* end_ = nullptr;
    std::atomic<std::size_t> bytes_{0};
};

}  // namespace pool
