// What the library needs of the system's memory beyond the C++ runtime.
#pragma once

#include <cstddef>

namespace platform {

/// Blocks of at least this many bytes are worth asking for huge pages.
inline constexpr std::size_t kLargeBlock = std::size_t{4} << 20;

/// Returns a block of `count` bytes that `std::free` releases and `std::realloc` resizes, backed by
/// huge pages where the system offers them on request (a first touch then costs one fault for 2 MiB
/// instead of one for 4 KiB); null when memory is exhausted. Meant for `count >= kLargeBlock`.
void* allocateLarge(std::size_t count);

/// Asks for huge pages under the block [start, start + count), which the caller owns; a hint, which
/// never fails. Meant for a large block that `std::realloc` has moved.
void adviseHugePages(void* start, std::size_t count);

/// Boundaries of huge pages; what is aligned to them can lie on them entirely.
inline constexpr std::size_t kHugePage = std::size_t{2} << 20;

/// Takes such a request back: memory that is given back then stays so, where the system would
/// otherwise make a huge page of what is left around it.
void refuseHugePages(void* start, std::size_t count);

/// Returns how many bytes of the block may be used, at least as many as were asked for; with a
/// sanitizer, which watches them, just as many. The block comes from `std::malloc` and its kin.
std::size_t usableSize(void* block);

}  // namespace platform
