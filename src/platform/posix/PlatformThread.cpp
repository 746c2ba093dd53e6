// Threads by their keys; the word itself is a thread-local variable.
#include "platform/PlatformThread.h"

#include <pthread.h>
#include <sched.h>
#include <time.h>

#include <atomic>

namespace platform {

constinit thread_local void* threadWordStorage = nullptr;

namespace {

// The key's function must not be called once the library is gone: unloading it gives up the key.
struct EndKey {
    ~EndKey() {
        if (exists.exchange(false))
            pthread_key_delete(key);
    }
    pthread_key_t key = 0;
    std::atomic<bool> exists{false};
};
constinit EndKey endKey;

}  // namespace

void setThreadWord(void* word) {
    threadWordStorage = word;
}

bool watchThreads(void (*threadEnds)(void* word), void (*beforeFork)(), void (*inParent)(),
                  void (*inChild)()) {
    if (pthread_key_create(&endKey.key, threadEnds) != 0)
        return false;
    endKey.exists = true;
    return pthread_atfork(beforeFork, inParent, inChild) == 0;
}

void watchThisThread() {
    if (endKey.exists)
        pthread_setspecific(endKey.key, threadWordStorage);
}

void yieldThread() {
    sched_yield();
}

long long coarseMilliseconds() {
#if defined(CLOCK_MONOTONIC_COARSE)
    constexpr clockid_t kClock = CLOCK_MONOTONIC_COARSE;
#else
    constexpr clockid_t kClock = CLOCK_MONOTONIC;
#endif
    timespec now{};
    clock_gettime(kClock, &now);
    return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

}  // namespace platform
