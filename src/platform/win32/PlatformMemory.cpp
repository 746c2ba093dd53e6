// Large blocks on Windows: the runtime's heap, since large pages need a privilege there.
#include "platform/PlatformMemory.h"

#include <malloc.h>

#include <cstdlib>

namespace platform {

void* allocateLarge(std::size_t count) {
    return std::malloc(count);
}

void adviseHugePages(void*, std::size_t) {}

void refuseHugePages(void*, std::size_t) {}

std::size_t usableSize(void* block) {
    return _msize(block);
}

}  // namespace platform
