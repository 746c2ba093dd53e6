// A block copy for large buffers.
#pragma once

#include <ztlib/ZtExport.h>

#include <cstddef>

/// Copies `count` bytes and returns `destination`. The ranges must not overlap; when either is
/// null, or both are the same, nothing is copied.
///
/// Meant for buffers that are not in the cache: from 64 KiB on it writes past the cache, so that
/// neither the destination is read before it is overwritten nor the cache loses what it holds.
/// Copies that fit into the cache and whose result is read at once are faster by `std::memcpy`.
/// What was written is visible to other threads that learn of it in the usual ways. Without the
/// processor's streaming stores it is a plain copy.
extern "C" ZTLIB_API void* memcpy_amd(void* destination, const void* source, std::size_t count);
