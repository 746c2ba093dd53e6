// What the library needs of files that a program has opened by number.
#pragma once

#include <cstddef>

namespace platform {

/// Reads at most `size` bytes, less than 2^31, from where a descriptor stands. Returns how many
/// were read, 0 at the end, and -1 with `errno` set on failure. A call that a signal interrupts is
/// made again.
int readSome(int descriptor, void* buffer, std::size_t size);

}  // namespace platform
