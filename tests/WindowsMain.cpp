// The main function of the test programs on Windows: does not end while a thread is starting.
//
// The test framework starts a thread of its own there when the first test runs. A program of a few
// milliseconds can reach its end while that thread still starts, and under Wine it then crashes
// after all its tests have passed, about once in three hundred runs.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>

namespace {

std::atomic<bool> hasThreadStarted = false;

// The system calls this on every new thread, when the thread is complete.
void NTAPI whenThreadStarts(PVOID, DWORD reason, PVOID) {
    if (reason == DLL_THREAD_ATTACH)
        hasThreadStarted = true;
}

}  // namespace

// The linker collects the callbacks of a program in this section.
extern "C" __attribute__((section(".CRT$XLY"), used))
const PIMAGE_TLS_CALLBACK ztTestsThreadCallback = whenThreadStarts;

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    for (int milliseconds = 0; !hasThreadStarted && milliseconds < 500; ++milliseconds)
        Sleep(1);
    return result;
}
