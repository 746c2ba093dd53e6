// The seam to the operating system on Windows.
#include "Host.h"
#include "Temporaries.h"

#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <sys/stat.h>
#include <windows.h>

#include <atomic>
#include <cstdio>
#include <string>

namespace ztlabel::host {

namespace {

Temporaries temporaries;
std::atomic<int> held{0};

// Windows calls this on a thread of its own; the process ends when it returns FALSE.
BOOL WINAPI removeTemporariesAndEnd(DWORD) {
    while (held > 0)
        Sleep(1);
    temporaries.removeAll([](const char* path) { DeleteFileA(path); });
    return FALSE;
}

}  // namespace

bool isTerminal(std::FILE* stream) {
    return _isatty(_fileno(stream)) != 0;
}

unsigned long long memoryBytes() {
    MEMORYSTATUSEX status = {};
    status.dwLength = sizeof(status);
    return GlobalMemoryStatusEx(&status) ? status.ullTotalPhys : 0;
}

int processId() {
    return _getpid();
}

std::FILE* createNew(const std::string& path) {
    const int file =
        _open(path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
    return file < 0 ? nullptr : _fdopen(file, "wb");
}

bool flushToDisk(std::FILE* stream) {
    return std::fflush(stream) == 0 && _commit(_fileno(stream)) == 0;
}

void installSignalHandlers() {
    SetConsoleCtrlHandler(removeTemporariesAndEnd, TRUE);
}

// An open file cannot be deleted here: the handler gets what is closed, the system keeps the rest.
bool registerTemporary(const std::string& path) {
    return temporaries.add(path);
}
void forgetTemporary(const std::string& path) {
    temporaries.forget(path);
}

StandardErrorDropped::StandardErrorDropped() : kept_(_dup(_fileno(stderr))) {
    std::fflush(stderr);
    const int nowhere = _open("NUL", _O_WRONLY);
    if (kept_ >= 0 && nowhere >= 0)
        _dup2(nowhere, _fileno(stderr));
    if (nowhere >= 0)
        _close(nowhere);
}

StandardErrorDropped::~StandardErrorDropped() {
    if (kept_ < 0)
        return;
    std::fflush(stderr);
    _dup2(kept_, _fileno(stderr));
    _close(kept_);
}

SignalsHeld::SignalsHeld() {
    ++held;
}
SignalsHeld::~SignalsHeld() {
    --held;
}

}  // namespace ztlabel::host
