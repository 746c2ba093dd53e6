// Pages by anonymous mappings, which the kernel commits when they are touched.
#include "platform/PlatformPages.h"

#include <sys/mman.h>

#include <cstdint>

namespace platform {

namespace {

char* map(std::size_t size) {
    void* const start =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return start == MAP_FAILED ? nullptr : static_cast<char*>(start);
}

void unmap(char* from, const char* to) {
    if (from != to)
        munmap(from, static_cast<std::size_t>(to - from));
}

}  // namespace

void* reservePages(std::size_t size, std::size_t alignment) {
    if (size + alignment < size)
        return nullptr;
    char* const start = map(size + alignment);
    if (!start)
        return nullptr;
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(start);
    char* const aligned = start + (((address + alignment - 1) & ~(alignment - 1)) - address);
    unmap(start, aligned);
    unmap(aligned + size, start + size + alignment);
    return aligned;
}

bool commitPages(void*, std::size_t) {
    return true;
}

void decommitPages(void* start, std::size_t size) {
    madvise(start, size, MADV_DONTNEED);
}

void releasePages(void* start, std::size_t size) {
    munmap(start, size);
}

// Where the kernel cannot move pages, the caller copies.
bool extendPages([[maybe_unused]] void* start, [[maybe_unused]] std::size_t oldSize,
                 [[maybe_unused]] std::size_t newSize) {
#if defined(MREMAP_MAYMOVE)
    return mremap(start, oldSize, newSize, 0) != MAP_FAILED;
#else
    return false;
#endif
}

bool movePages([[maybe_unused]] void* from, [[maybe_unused]] std::size_t oldSize,
               [[maybe_unused]] void* to, [[maybe_unused]] std::size_t newSize) {
#if defined(MREMAP_FIXED)
    return mremap(from, oldSize, newSize, MREMAP_MAYMOVE | MREMAP_FIXED, to) != MAP_FAILED;
#else
    return false;
#endif
}

}  // namespace platform
