// Files and directories by UTF-8 path, through the wide-character calls.
#include "platform/PlatformFile.h"

#include <windows.h>

#include <cerrno>
#include <climits>
#include <cstring>

#include "platform/win32/WidePath.h"

namespace platform {

namespace {

// Looks an entry up in its directory, which asks for no access to the entry itself. A path that
// ends with a separator, and the root of a drive, is not found so.
bool find(const char* path, WIN32_FIND_DATAW& data) {
    const std::size_t length = std::strlen(path);
    const bool isDrive = length == 2 && path[1] == ':';
    const WidePath wide(path);
    return errorOf(Call::kExamine, wide, [&](const wchar_t* name) {
               if (isDrive)
                   return false;
               const HANDLE search = FindFirstFileW(name, &data);
               if (search == INVALID_HANDLE_VALUE)
                   return false;
               FindClose(search);
               return true;
           }) == 0;
}

}  // namespace

std::FILE* openFile(const char* path, const char* mode) {
    if (!path)
        return nullptr;
    const WidePath wide(path);
    const WidePath wideMode(mode);
    std::FILE* file = nullptr;
    const int error = errorOf(Call::kOpenFile, wide, [&](const wchar_t* name) {
        file = _wfopen(name, wideMode.get());
        return true;
    });
    if (error != 0)
        errno = error;
    return file;
}

bool exists(const char* path) {
    return errorOf(Call::kExamine, WidePath(path), [](const wchar_t* name) {
               return GetFileAttributesW(name) != INVALID_FILE_ATTRIBUTES;
           }) == 0;
}

EntryKind kindOf(const char* path) {
    WIN32_FIND_DATAW data = {};
    return find(path, data) ? kindOfAttributes(data.dwFileAttributes, data.dwReserved0)
                            : EntryKind::kMissing;
}

bool leadsToDirectory(const char* path) {
    WIN32_FIND_DATAW data = {};
    return find(path, data) && (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool isVolumeRoot(const char* path) {
    wchar_t volume[MAX_PATH];
    return errorOf(Call::kExamine, WidePath(path), [&](const wchar_t* name) {
               return GetVolumeNameForVolumeMountPointW(name, volume, MAX_PATH) != 0;
           }) == 0;
}

int makeDirectory(const char* path, int) {
    return errorOf(Call::kMakeDirectory, WidePath(path),
                   [](const wchar_t* name) { return CreateDirectoryW(name, nullptr) != 0; });
}

int removeFile(const char* path) {
    return errorOf(Call::kRemoveFile, WidePath(path),
                   [](const wchar_t* name) { return DeleteFileW(name) != 0; });
}

int removeDirectory(const char* path) {
    return errorOf(Call::kRemoveDirectory, WidePath(path),
                   [](const wchar_t* name) { return RemoveDirectoryW(name) != 0; });
}

long long freeSpace(const char* directory) {
    ULARGE_INTEGER bytes;
    if (errorOf(Call::kFreeSpace, WidePath(directory), [&](const wchar_t* name) {
            return GetDiskFreeSpaceExW(name, &bytes, nullptr, nullptr) != 0;
        }) != 0)
        return -1;
    return bytes.QuadPart > LLONG_MAX ? LLONG_MAX : static_cast<long long>(bytes.QuadPart);
}

void temporaryPath(char* buffer, std::size_t size) {
    wchar_t path[MAX_PATH + 1];
    char text[3 * MAX_PATH + 4];
    const DWORD length = GetTempPathW(MAX_PATH + 1, path);
    if (length == 0 || length > MAX_PATH)
        std::strcpy(text, "C:/Windows/Temp");
    else
        toUtf8(path, text);
    std::strcpy(buffer, std::strlen(text) < size ? text : "C:/Windows/Temp");
}

}  // namespace platform
