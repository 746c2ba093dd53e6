// Files and directories by their paths, which are bytes here.
#include "platform/PlatformFile.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "platform/posix/SystemCall.h"

namespace platform {

std::FILE* openFile(const char* path, const char* mode) {
    if (!path)
        return nullptr;
    return callSystem(Call::kOpenFile, static_cast<std::FILE*>(nullptr),
                      [&] { return std::fopen(path, mode); });
}

bool exists(const char* path) {
    return errorOf(Call::kExamine, [&] { return access(path, F_OK); }) == 0;
}

EntryKind kindOf(const char* path) {
    struct stat status = {};
    if (errorOf(Call::kExamine, [&] { return lstat(path, &status); }) != 0)
        return EntryKind::kMissing;
    return kindOfMode(status.st_mode);
}

bool leadsToDirectory(const char* path) {
    struct stat status = {};
    return errorOf(Call::kExamine, [&] { return stat(path, &status); }) == 0 &&
           S_ISDIR(status.st_mode);
}

bool isVolumeRoot(const char*) {
    return false;  // a root is a directory like any other
}

int makeDirectory(const char* path, int mode) {
    return errorOf(Call::kMakeDirectory, [&] { return mkdir(path, static_cast<mode_t>(mode)); });
}

int removeFile(const char* path) {
    return errorOf(Call::kRemoveFile, [&] { return unlink(path); });
}

int removeDirectory(const char* path) {
    return errorOf(Call::kRemoveDirectory, [&] { return rmdir(path); });
}

long long freeSpace(const char* directory) {
    struct statvfs volume = {};
    if (errorOf(Call::kFreeSpace, [&] { return statvfs(directory, &volume); }) != 0)
        return -1;
    long long bytes;
    if (__builtin_mul_overflow(volume.f_bavail, volume.f_frsize, &bytes))
        return LLONG_MAX;
    return bytes;
}

void temporaryPath(char* buffer, std::size_t size) {
    const char* path = "/tmp";
    for (const char* variable : {"TMPDIR", "TMP", "TEMP"}) {
        const char* const value = std::getenv(variable);
        if (!value || !*value)
            continue;
        if (std::strlen(value) < size)
            path = value;
        break;
    }
    std::strcpy(buffer, path);
}

}  // namespace platform
