// The allocation functions behind every buffer of the library.
#pragma once

#include <ztlib/ZtExport.h>

#include <cstddef>

/// Returns a block of `count` bytes from the runtime's `malloc`; never null for a non-zero count.
/// Throws `ZtMemoryException` carrying `count` when memory is exhausted. Large blocks lie on huge
/// pages where the system offers them. Released by `ztfree` or the runtime's `free`.
ZTLIB_API void* ztmalloc(std::size_t count);

/// Resizes a block as the runtime's `realloc` does. A null `block` is allocated anew; a count of 0
/// frees it and returns null. Throws `ZtMemoryException` carrying `count` when memory is exhausted;
/// the old block then stays valid and with its owner.
ZTLIB_API void* ztrealloc(void* block, std::size_t count);

/// Releases a block; null is allowed.
ZTLIB_API void ztfree(void* block);

/// Throws the `ZtMemoryException` of a request for `count` bytes. For code that must not know the
/// exception's class, and for requests whose size does not fit the address space.
[[noreturn]] ZTLIB_API void ztThrowMemoryException(std::size_t count);
