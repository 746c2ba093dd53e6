// Memory for records, dealt out from blocks of pages.
#include "core/pool/Arena.h"

#include <cstdint>
#include <new>

#include "core/pool/SizeClasses.h"
#include "core/pool/SystemPages.h"

namespace pool {

namespace {

char* alignUp(char* pointer, std::size_t alignment) {
    const auto address = reinterpret_cast<std::uintptr_t>(pointer);
    return pointer + (((address + alignment - 1) & ~(alignment - 1)) - address);
}

}  // namespace

void Arena::adopt(void* block, std::size_t size, std::size_t used) {
    blocks_ = new (block) Block{blocks_, size};
    free_ = static_cast<char*>(block) + used;
    end_ = static_cast<char*>(block) + size;
    bytes_.fetch_add(size, std::memory_order_relaxed);
}

void* Arena::take(std::size_t size, std::size_t alignment) {
    const Locked locked(lock_);
    char* piece = alignUp(free_, alignment);
    if (!free_ || piece > end_ || static_cast<std::size_t>(end_ - piece) < size) {
        const std::size_t blockSize = (size + alignment + kHead + kPage - 1) / kPage * kPage;
        void* const block = reserveCommitted(blockSize, kPage);
        if (!block)
            return nullptr;
        adopt(block, blockSize, kHead);
        piece = alignUp(free_, alignment);
    }
    free_ = piece + size;
    return piece;
}

void Arena::releaseAll() {
    for (Block* block = blocks_; block;) {
        Block* const next = block->next;
        release(block, block->size);
        block = next;
    }
}

}  // namespace pool
