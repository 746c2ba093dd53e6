// Crashes on Windows: the filter of exceptions that nothing handles, and the debug-help library's
// minidump, which is loaded at run time, so that the process runs without it.
#include "platform/PlatformCrash.h"

#include <windows.h>

#include <dbghelp.h>

#include <atomic>
#include <cstdint>
#include <cstring>

#include "platform/win32/WidePath.h"

namespace platform {

namespace {

constexpr ULONG kHandlerStack = 64u << 10;

using WriteDump = decltype(&MiniDumpWriteDump);

// All of it is written while the handler is installed and only read by the handler.
HMODULE debugHelp = nullptr;
WriteDump writeDump = nullptr;
const WidePath* dumpPath = nullptr;
CrashHooks crashHooks = {};

CrashWriter loadOutcome = CrashWriter::kLoaded;
DWORD loadError = 0;

// The thread that is in the handler, 0 when none is.
std::atomic<DWORD> crashingThread{0};

CrashDump writeMiniDump(EXCEPTION_POINTERS* pointers) {
    const HANDLE file = CreateFileW(dumpPath->get(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return CrashDump::kNotOpened;
    MINIDUMP_EXCEPTION_INFORMATION information = {GetCurrentThreadId(), pointers, TRUE};
    const BOOL isWritten = writeDump(GetCurrentProcess(), GetCurrentProcessId(), file,
                                     MiniDumpNormal, &information, nullptr, nullptr);
    const DWORD error = GetLastError();
    CloseHandle(file);
    SetLastError(error);
    return isWritten ? CrashDump::kWritten : CrashDump::kNotWritten;
}

// A thread that crashes again in the handler leaves at once; others wait for the first, whose
// default handling ends the process.
bool enter() {
    const DWORD self = GetCurrentThreadId();
    DWORD inside = 0;
    if (crashingThread.compare_exchange_strong(inside, self))
        return true;
    while (inside != self && crashingThread != 0)
        Sleep(10);
    return false;
}

LONG WINAPI onException(EXCEPTION_POINTERS* pointers) {
    if (enter()) {
        const int code = static_cast<int>(pointers->ExceptionRecord->ExceptionCode);
        crashHooks.dumped(code, writeMiniDump(pointers));
        crashingThread = 0;
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

bool isCrashWriterLoaded() {
    return debugHelp != nullptr;
}

CrashWriter loadCrashWriter() {
    SetLastError(loadError);
    if (loadOutcome == CrashWriter::kNoLibrary)
        return loadOutcome;
    debugHelp = LoadLibraryA("dbghelp.dll");
    if (!debugHelp)
        return CrashWriter::kNoLibrary;
    SetLastError(loadError);
    if (loadOutcome == CrashWriter::kNotInLibrary)
        return loadOutcome;
    const FARPROC found = GetProcAddress(debugHelp, "MiniDumpWriteDump");
    if (!found)
        return CrashWriter::kNotInLibrary;
    std::memcpy(&writeDump, &found, sizeof writeDump);
    return CrashWriter::kLoaded;
}

void catchStackOverflow() {
    // So much is left to the handler.
    ULONG guarantee = kHandlerStack;
    SetThreadStackGuarantee(&guarantee);
}

unsigned long long installCrashHandler(const char* path, const CrashHooks& hooks) {
    // Never destroyed: the process may crash while it ends.
    dumpPath = new WidePath(path);
    crashHooks = hooks;
    catchStackOverflow();
    return reinterpret_cast<std::uintptr_t>(SetUnhandledExceptionFilter(onException));
}

void dumpUncaughtException(const char*) {
    // The process ends after this; whatever fails from here on ends it at once.
    if (!dumpPath || !enter())
        return;
    CONTEXT context = {};
    RtlCaptureContext(&context);
    EXCEPTION_RECORD record = {};
    record.ExceptionCode = kUncaughtExceptionCode;
    record.ExceptionFlags = EXCEPTION_NONCONTINUABLE;
    record.ExceptionAddress = __builtin_return_address(0);
    EXCEPTION_POINTERS pointers = {&record, &context};
    crashHooks.dumped(static_cast<int>(kUncaughtExceptionCode), writeMiniDump(&pointers));
}

int lastSystemError() {
    return static_cast<int>(GetLastError());
}

CrashWriterFault::CrashWriterFault(CrashWriter outcome, int error) {
    loadOutcome = outcome;
    loadError = static_cast<DWORD>(error);
}

CrashWriterFault::~CrashWriterFault() {
    loadOutcome = CrashWriter::kLoaded;
    loadError = 0;
    if (!dumpPath)
        debugHelp = nullptr;
}

}  // namespace platform
