// Allocation for operations that report exhausted memory in their own way.
#pragma once

#include <cstddef>

/// `ztmalloc` that returns null when memory is exhausted; released by `ztfree`, too.
void* allocateOrNull(std::size_t count) noexcept;
