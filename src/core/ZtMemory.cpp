// Allocation: the runtime's heap, huge pages for large blocks, and an exception instead of null.
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtMemoryException.h>

#include <atomic>
#include <climits>
#include <cstdlib>
#include <new>

#include "core/AllocateOrNull.h"
#include "core/AllocationWatch.h"
#include "platform/PlatformMemory.h"

namespace {

// The tests' watch. Without one, `watching` is all that is ever looked at.
constexpr int kNever = INT_MAX;
std::atomic<bool> watching{false};
std::atomic<bool> hasMadeFail{false};
std::atomic<bool> failingFromThenOn{false};
std::atomic<int> failingCall{kNever};
std::atomic<int> callCount{0};
std::atomic<int> liveBlockCount{0};

bool isWatched() {
    return __builtin_expect(watching.load(std::memory_order_relaxed), false);
}

bool isMadeToFail() {
    const int call = callCount++;
    const bool fails = failingFromThenOn ? call >= failingCall : call == failingCall;
    if (fails)
        hasMadeFail = true;
    return fails;
}

void* systemAllocate(std::size_t count) {
    return count < platform::kLargeBlock ? std::malloc(count) : platform::allocateLarge(count);
}

void* watchedAllocate(std::size_t count) {
    if (isMadeToFail())
        return nullptr;
    void* const block = systemAllocate(count);
    if (block)
        ++liveBlockCount;
    return block;
}

void* reallocateOrNull(void* block, std::size_t count) noexcept {
    if (isWatched() && isMadeToFail())
        return nullptr;
    void* const moved = std::realloc(block, count);
    if (moved && count >= platform::kLargeBlock)
        platform::adviseHugePages(moved, count);
    return moved;
}

}  // namespace

void* allocateOrNull(std::size_t count) noexcept {
    return isWatched() ? watchedAllocate(count) : systemAllocate(count);
}

void* ztmalloc(std::size_t count) {
    void* const block = allocateOrNull(count);
    if (!block)
        ztThrowMemoryException(count);
    return block;
}

void* ztrealloc(void* pointer, std::size_t count) {
    if (!pointer)
        return ztmalloc(count);
    if (count == 0) {
        ztfree(pointer);
        return nullptr;
    }
    void* const block = reallocateOrNull(pointer, count);
    if (!block)
        ztThrowMemoryException(count);
    return block;
}

void ztfree(void* pointer) noexcept {
    if (isWatched() && pointer)
        --liveBlockCount;
    std::free(pointer);
}

void ztThrowMemoryException(std::size_t count) {
    // The exception takes memory for its message, which may fail in turn: that ends here, and the
    // exception does without.
    thread_local bool isThrowing = false;
    if (isThrowing)
        throw std::bad_alloc();
    isThrowing = true;
    struct Reset {
        ~Reset() { isThrowing = false; }
    } reset;
    throw ZtMemoryException(count);
}

AllocationWatch::AllocationWatch() {
    stopFailing();
    hasMadeFail = false;
    callCount = 0;
    liveBlockCount = 0;
    watching = true;
}

AllocationWatch::~AllocationWatch() {
    watching = false;
}

void AllocationWatch::failAfter(int calls, Mode mode) {
    failingFromThenOn = mode == kFromThenOn;
    failingCall = callCount + calls;
}

void AllocationWatch::stopFailing() {
    failingFromThenOn = false;
    failingCall = kNever;
}

bool AllocationWatch::hasFailed() const {
    return hasMadeFail;
}

int AllocationWatch::calls() const {
    return callCount;
}

int AllocationWatch::liveBlocks() const {
    return liveBlockCount;
}
