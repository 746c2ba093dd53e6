// A pair of functions that obtain and release memory.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtPooledAllocator.h>

#include <cstddef>
#include <cstdlib>

/// Says how a block of memory is obtained and, above all, how it must be released: a value that is
/// stored beside a block which changes hands. Running out of memory is null here, not an exception.
class ZtAllocator {
public:
    /// What obtains a block, null when there is none, and what releases it.
    typedef void* (*Allocate)(std::size_t count);
    typedef void (*Deallocate)(void* block);

    /// The pairs of functions that come with the library.
    enum AllocatorType : int {
        MALLOC = 0,     ///< The runtime's `malloc` and `free`.
        NEDMALLOC = 1,  ///< The pooled allocator's `nedmalloc` and `nedfree`.
        NEW_DELETE = 2  ///< `operator new`, null where it throws, and `operator delete`.
    };

    /// Takes an `AllocatorType`; both functions are null for any other number.
    // Here and not in the library, since `malloc` may have another address there.
    ZtAllocator(int type = MALLOC)
        : allocate_(type == MALLOC       ? &std::malloc
                    : type == NEDMALLOC  ? &nedmalloc
                    : type == NEW_DELETE ? &newBlock
                                         : nullptr),
          deallocate_(type == MALLOC       ? &std::free
                      : type == NEDMALLOC  ? &nedfree
                      : type == NEW_DELETE ? &deleteBlock
                                           : nullptr) {}

    /// A pair of functions of the caller's own; a null one obtains or releases nothing.
    ZtAllocator(Allocate obtain, Deallocate release) : allocate_(obtain), deallocate_(release) {}

    /// Returns a block of `count` bytes; null when memory is exhausted or there is no function.
    void* allocate(std::size_t count) const { return allocate_ ? allocate_(count) : nullptr; }

    /// Releases a block; null is ignored.
    void deallocate(void* block) const {
        if (block && deallocate_)
            deallocate_(block);
    }

    bool operator==(const ZtAllocator& other) const {
        return allocate_ == other.allocate_ && deallocate_ == other.deallocate_;
    }
    bool operator!=(const ZtAllocator& other) const { return !(*this == other); }

private:
    ZTLIB_API static void* newBlock(std::size_t count);
    ZTLIB_API static void deleteBlock(void* block);

    Allocate allocate_;
    Deallocate deallocate_;
};
