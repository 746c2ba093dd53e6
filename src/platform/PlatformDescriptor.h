// What the library needs of files that are open by number.
#pragma once

#include <cstddef>

namespace platform {

/// Reads at most `size` bytes, less than 2^31, from where a descriptor stands. Returns how many
/// were read, 0 at the end, and -1 with `errno` set on failure. A call that a signal interrupts is
/// made again.
int readSome(int descriptor, void* buffer, std::size_t size);

/// Opens a regular file for reading, by a UTF-8 path; links are followed. Nothing else is opened:
/// that might wait or, like a tape, take notice. With a directory as `root`, null for none, the
/// file has to lie in it or below, wherever the names and links of the path lead on the way. Sets
/// `size`, which is 0 also where the system does not know it. Returns -1 if there is no such file.
int openRegularFile(const char* path, const char* root, long long& size);

/// Goes back to the start of a file.
bool rewindFile(int descriptor);

void closeFile(int descriptor);

}  // namespace platform
