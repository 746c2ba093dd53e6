// The allocation functions behind every buffer that the library's containers own.
#pragma once

#include <ztlib/ZtExport.h>

#include <cstddef>

/// Returns a block of `count` bytes, uninitialised and aligned for any fundamental type; never
/// null. Blocks of several megabytes lie on huge pages where the system offers them. Throws
/// `ZtMemoryException(count)` when memory is exhausted.
ZTLIB_API void* ztmalloc(std::size_t count);

/// Resizes a block from `ztmalloc`, keeping its bytes up to the smaller size, and returns its new
/// place. A null pointer makes a new block; a count of 0 frees the block and returns null. Throws
/// `ZtMemoryException(count)` when memory is exhausted; the old block is then as it was, and still
/// the caller's.
ZTLIB_API void* ztrealloc(void* pointer, std::size_t count);

/// Releases a block from `ztmalloc` or `ztrealloc` (the runtime's `free` does as well); null is
/// ignored.
ZTLIB_API void ztfree(void* pointer) noexcept;

/// Throws `ZtMemoryException(count)`: for requests that cannot be put in numbers, such as a count
/// times an element size beyond the address space. This header is enough to call it.
[[noreturn]] ZTLIB_API void ztThrowMemoryException(std::size_t count);
