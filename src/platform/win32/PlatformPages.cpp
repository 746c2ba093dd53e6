// Pages by the virtual-memory calls, which reserve in units of 64 KiB.
#include "platform/PlatformPages.h"

#include <windows.h>

#include <cstdint>

namespace platform {

namespace {

void* reserveAt(void* place, std::size_t size) {
    return VirtualAlloc(place, size, MEM_RESERVE, PAGE_READWRITE);
}

}  // namespace

void* reservePages(std::size_t size, std::size_t alignment) {
    if (alignment <= kReserveUnit)
        return reserveAt(nullptr, size);
    if (size + alignment < size)
        return nullptr;
    // A part of a reservation cannot be given up: find a place, leave it and take what is wanted of
    // it, again and again in case another thread is quicker.
    for (int attempt = 0; attempt < 16; ++attempt) {
        void* const found = reserveAt(nullptr, size + alignment);
        if (!found)
            return nullptr;
        VirtualFree(found, 0, MEM_RELEASE);
        const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(found);
        const std::uintptr_t aligned = (address + alignment - 1) & ~(alignment - 1);
        if (void* const start = reserveAt(reinterpret_cast<void*>(aligned), size))
            return start;
    }
    return nullptr;
}

bool commitPages(void* start, std::size_t size) {
    return VirtualAlloc(start, size, MEM_COMMIT, PAGE_READWRITE) != nullptr;
}

void decommitPages(void* start, std::size_t size) {
    VirtualFree(start, size, MEM_DECOMMIT);
}

void releasePages(void* start, std::size_t) {
    VirtualFree(start, 0, MEM_RELEASE);
}

bool extendPages(void*, std::size_t, std::size_t) {
    return false;
}

bool movePages(void*, std::size_t, void*, std::size_t) {
    return false;
}

}  // namespace platform
