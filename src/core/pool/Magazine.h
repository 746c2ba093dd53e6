// A stack of free blocks of one class, handed between threads as a whole.
#pragma once

#include <cstddef>

namespace pool {

/// Holds the addresses of free blocks beside the blocks, so that taking and freeing one touches no
/// memory of the block itself, which may lie in another processor's cache or in none.
struct Magazine {
    Magazine* next;
    std::size_t count;  ///< blocks, while no thread has it loaded
    void* slots[1];     ///< the first is null, which ends the stack; then one for each block

    static constexpr std::size_t bytesFor(unsigned capacity) {
        return sizeof(Magazine) + capacity * sizeof(void*);
    }
};

}  // namespace pool
