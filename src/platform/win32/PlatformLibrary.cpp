// Shared libraries, by the loader of Windows.
#include "platform/PlatformLibrary.h"

#include <windows.h>

#include <cstring>

#include "platform/win32/WidePath.h"

namespace platform {

LibraryNaming libraryNaming() {
    return LibraryNaming::kWindows;
}

void* loadLibrary(const char* path) {
    const WidePath wide(path);
    if (wide.error() != 0)
        return nullptr;
    // The system would show a box about a file that is no library, and wait until it is closed.
    DWORD before = 0;
    SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &before);
    const HMODULE library = LoadLibraryW(wide.get());
    SetThreadErrorMode(before, nullptr);
    return library;
}

void* findSymbol(void* library, const char* name) {
    const FARPROC found = GetProcAddress(static_cast<HMODULE>(library), name);
    void* address;
    std::memcpy(&address, &found, sizeof address);
    return address;
}

}  // namespace platform
