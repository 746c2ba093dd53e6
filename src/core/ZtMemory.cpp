// The allocation functions: the runtime's, with exhaustion as an exception.
#include <ztlib/ZtMemory.h>

#include <ztlib/ZtMemoryException.h>

#include <cstdlib>

#include "platform/PlatformMemory.h"

void* ztmalloc(std::size_t count) {
    void* block =
        count < platform::kLargeBlock ? std::malloc(count) : platform::allocateLarge(count);
    if (!block)
        ztThrowMemoryException(count);
    return block;
}

void* ztrealloc(void* block, std::size_t count) {
    if (!block)
        return ztmalloc(count);
    if (count == 0) {
        ztfree(block);
        return nullptr;
    }
    void* moved = std::realloc(block, count);
    if (!moved)
        ztThrowMemoryException(count);
    if (count >= platform::kLargeBlock)
        platform::adviseHugePages(moved, count);
    return moved;
}

void ztfree(void* block) {
    std::free(block);
}

void ztThrowMemoryException(std::size_t count) {
    throw ZtMemoryException(count);
}
