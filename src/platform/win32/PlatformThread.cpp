// Threads by their local storage; the loader tells when one ends.
#include "platform/PlatformThread.h"

#include <windows.h>

#include <atomic>

namespace platform {

namespace {

std::atomic<DWORD> slot{TLS_OUT_OF_INDEXES};
std::atomic<void (*)(void*)> whenThreadEnds{nullptr};

// The system calls this on every thread that ends while the library is loaded.
void NTAPI whenThreadChanges(PVOID, DWORD reason, PVOID processEnds) {
    if (reason == DLL_THREAD_DETACH) {
        void* const word = threadWord();
        if (word && whenThreadEnds)
            whenThreadEnds.load()(word);
    } else if (reason == DLL_PROCESS_DETACH && !processEnds) {
        const DWORD given = slot.exchange(TLS_OUT_OF_INDEXES);
        if (given != TLS_OUT_OF_INDEXES)
            TlsFree(given);
    }
}

}  // namespace

// The linker collects the callbacks of a program or library in this section.
extern "C" __attribute__((section(".CRT$XLM"), used))
const PIMAGE_TLS_CALLBACK ztPlatformThreadCallback = whenThreadChanges;

void* threadWord() {
    const DWORD given = slot.load(std::memory_order_acquire);
    if (given == TLS_OUT_OF_INDEXES)
        return nullptr;
    // Reading a slot resets the calling thread's error number, which an allocation must not do.
    const DWORD error = GetLastError();
    void* const word = TlsGetValue(given);
    SetLastError(error);
    return word;
}

void setThreadWord(void* word) {
    const DWORD given = slot.load(std::memory_order_acquire);
    if (given != TLS_OUT_OF_INDEXES)
        TlsSetValue(given, word);
}

bool watchThreads(void (*threadEnds)(void* word), void (*)(), void (*)(), void (*)()) {
    whenThreadEnds = threadEnds;
    const DWORD given = TlsAlloc();
    slot = given;
    return given != TLS_OUT_OF_INDEXES;
}

void watchThisThread() {}

void yieldThread() {
    if (!SwitchToThread())
        Sleep(0);
}

long long coarseMilliseconds() {
    return static_cast<long long>(GetTickCount64());
}

}  // namespace platform
