// Descriptors of the C runtime, which no signal interrupts.
#include "platform/PlatformDescriptor.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cwchar>

#include "platform/PlatformFaults.h"
#include "platform/win32/WidePath.h"

namespace platform {

namespace {

constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// Where something open really lies; null if that cannot be found out. The caller frees it.
wchar_t* finalPath(HANDLE handle) {
    const DWORD size = GetFinalPathNameByHandleW(handle, nullptr, 0, 0);
    auto* const path = static_cast<wchar_t*>(std::malloc((size + 1) * sizeof(wchar_t)));
    if (path && size > 0 && GetFinalPathNameByHandleW(handle, path, size + 1, 0) <= size)
        return path;
    std::free(path);
    return nullptr;
}

bool isBelow(HANDLE file, const char* root) {
    const WidePath wide(root);
    const HANDLE directory = wide.error() != 0
                                 ? INVALID_HANDLE_VALUE
                                 : CreateFileW(wide.get(), 0, kShare, nullptr, OPEN_EXISTING,
                                               FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (directory == INVALID_HANDLE_VALUE)
        return false;
    wchar_t* const top = finalPath(directory);
    wchar_t* const path = finalPath(file);
    CloseHandle(directory);
    bool isInside = false;
    if (top && path) {
        std::size_t length = std::wcslen(top);
        if (length > 0 && top[length - 1] == L'\\')
            --length;  // the root of a drive
        isInside = std::wcsncmp(path, top, length) == 0 && path[length] == L'\\';
    }
    std::free(top);
    std::free(path);
    return isInside;
}

}  // namespace

int readSome(int descriptor, void* buffer, std::size_t size) {
    do
        errno = faultOf(Call::kReadFile);
    while (errno == EINTR);
    return errno == 0 ? _read(descriptor, buffer, static_cast<unsigned>(size)) : -1;
}

int openRegularFile(const char* path, const char* root, long long& size) {
    const WidePath wide(path);
    HANDLE file = INVALID_HANDLE_VALUE;
    errorOf(Call::kOpenFile, wide, [&](const wchar_t* name) {
        file = CreateFileW(name, GENERIC_READ, kShare, nullptr, OPEN_EXISTING, 0, nullptr);
        return file != INVALID_HANDLE_VALUE;
    });
    LARGE_INTEGER bytes;
    if (file == INVALID_HANDLE_VALUE)
        return -1;
    int descriptor = -1;
    if (GetFileType(file) == FILE_TYPE_DISK && GetFileSizeEx(file, &bytes) &&
        (!root || isBelow(file, root)))
        descriptor = _open_osfhandle(reinterpret_cast<std::intptr_t>(file),
                                     _O_RDONLY | _O_BINARY | _O_NOINHERIT);
    if (descriptor < 0)
        CloseHandle(file);
    else
        size = bytes.QuadPart;
    return descriptor;
}

bool rewindFile(int descriptor) {
    return _lseeki64(descriptor, 0, SEEK_SET) == 0;
}

void closeFile(int descriptor) {
    _close(descriptor);
}

}  // namespace platform
