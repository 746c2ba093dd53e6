// Files by UTF-8 path: paths are bytes here.
#include "platform/PlatformFile.h"

namespace platform {

std::FILE* openFile(const char* path, const char* mode) {
    return path ? std::fopen(path, mode) : nullptr;
}

}  // namespace platform
