// What an allocator needs of the system's threads: a word of its own in each, word of their ends
// and of forks, and a cheap clock.
#pragma once

namespace platform {

// The one word of each thread that the pooled allocator has; null in a new thread.
#if defined(__ELF__)
// At a fixed distance from the thread's base, so that reading it takes one instruction.
extern constinit thread_local void* threadWordStorage
    __attribute__((tls_model("initial-exec"), visibility("hidden")));
inline void* threadWord() {
    return threadWordStorage;
}
#else
void* threadWord();
#endif

/// Sets the calling thread's word.
void setThreadWord(void* word);

/// Tells the system whom to call: `threadEnds(word)` in each thread that ends with a word that is
/// not null, as long as the library is loaded; `beforeFork` in the thread that forks, and after it
/// `inParent` and `inChild`, where the system knows forks. To be called once; until then threads
/// and forks go unseen. False when the system has no place left for it.
bool watchThreads(void (*threadEnds)(void* word), void (*beforeFork)(), void (*inParent)(),
                  void (*inChild)());

/// Asks the system to call `threadEnds` for the calling thread; to be called after its word was
/// set.
void watchThisThread();

/// Lets another thread run.
void yieldThread();

/// Milliseconds since some time in the past, in coarse steps, at the cost of a read of memory.
long long coarseMilliseconds();

}  // namespace platform
