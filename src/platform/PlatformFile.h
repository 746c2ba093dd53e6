// What the library needs of the system's files beyond the C++ runtime.
#pragma once

#include <cstdio>

namespace platform {

/// Opens a file as `std::fopen` does, by a UTF-8 path; null when it cannot be opened, and when the
/// path is null or no UTF-8.
std::FILE* openFile(const char* path, const char* mode);

}  // namespace platform
