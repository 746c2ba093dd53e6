// The allocation functions in their form that returns null, for code that must not throw.
#pragma once

#include <cstddef>

namespace allocation {

/// As `ztmalloc`, but null when memory is exhausted.
void* allocateOrNull(std::size_t count) noexcept;

/// As the runtime's `realloc` of an existing block to a positive size: null, and the block as it
/// was, when memory is exhausted.
void* reallocateOrNull(void* block, std::size_t count) noexcept;

}  // namespace allocation
