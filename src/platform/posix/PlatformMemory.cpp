// Large blocks on huge pages, by request to the kernel.
#include "platform/PlatformMemory.h"

#include <malloc.h>
#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>

namespace platform {

void* allocateLarge(std::size_t count) {
    void* block = nullptr;
    if (posix_memalign(&block, kHugePage, count) != 0)
        return nullptr;
    adviseHugePages(block, count);
    return block;
}

void adviseHugePages(void* start, std::size_t count) {
#if defined(MADV_HUGEPAGE)
    const std::uintptr_t from =
        (reinterpret_cast<std::uintptr_t>(start) + kHugePage - 1) & ~(kHugePage - 1);
    const std::uintptr_t to = (reinterpret_cast<std::uintptr_t>(start) + count) & ~(kHugePage - 1);
    if (from < to)
        madvise(reinterpret_cast<void*>(from), to - from, MADV_HUGEPAGE);
#else
    (void)start;
    (void)count;
#endif
}

void refuseHugePages([[maybe_unused]] void* start, [[maybe_unused]] std::size_t count) {
#if defined(MADV_NOHUGEPAGE)
    madvise(start, count, MADV_NOHUGEPAGE);
#endif
}

std::size_t usableSize(void* block) {
    return malloc_usable_size(block);
}

}  // namespace platform
