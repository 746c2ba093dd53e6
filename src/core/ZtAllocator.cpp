// The allocator pair over operator new and delete.
#include <ztlib/ZtAllocator.h>

#include <new>

void* ZtAllocator::newBlock(std::size_t count) {
    // It calls the throwing form, a replaced one included, and takes every exception for null.
    return ::operator new(count, std::nothrow);
}

void ZtAllocator::deleteBlock(void* block) {
    ::operator delete(block);
}
