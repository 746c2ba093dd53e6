// Descriptors of the kernel.
#include "platform/PlatformDescriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "platform/posix/SystemCall.h"

namespace platform {

namespace {

constexpr int kPlace = O_PATH | O_DIRECTORY | O_CLOEXEC;

// A name in a directory, or a path with AT_FDCWD.
int openRegularAt(int directory, const char* name, bool followsLink, long long& size) {
    struct stat status = {};
    if (errorOf(Call::kExamine,
                [&] {
                    return fstatat(directory, name, &status, followsLink ? 0 : AT_SYMLINK_NOFOLLOW);
                }) != 0 ||
        !S_ISREG(status.st_mode))
        return -1;
    const int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | (followsLink ? 0 : O_NOFOLLOW);
    const int file =
        callSystem(Call::kOpenFile, -1, [&] { return openat(directory, name, flags); });
    if (file < 0)
        return -1;
    // It may be another one by now.
    if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(file);
        return -1;
    }
    size = status.st_size;
    return file;
}

// Goes from a directory down to a file by names that are no links, so that what others do to the
// links meanwhile leads nowhere else. Takes the text apart.
int openBelow(const char* root, char* names, long long& size) {
    int directory = open(root, kPlace);
    while (directory >= 0) {
        char* const slash = std::strchr(names, '/');
        if (!slash)
            break;
        *slash = '\0';
        const int next = openat(directory, names, kPlace | O_NOFOLLOW);
        ::close(directory);
        directory = next;
        names = slash + 1;
    }
    if (directory < 0)
        return -1;
    const int file = openRegularAt(directory, names, false, size);
    ::close(directory);
    return file;
}

}  // namespace

int readSome(int descriptor, void* buffer, std::size_t size) {
    return callSystem(Call::kReadFile, -1,
                      [=] { return static_cast<int>(::read(descriptor, buffer, size)); });
}

int openRegularFile(const char* path, const char* root, long long& size) {
    if (!root)
        return openRegularAt(AT_FDCWD, path, true, size);
    // Without links and dots, a path tells where it leads.
    char* const realRoot = realpath(root, nullptr);
    char* const realPath = realpath(path, nullptr);
    int file = -1;
    if (realRoot && realPath) {
        std::size_t length = std::strlen(realRoot);
        if (length == 1)
            length = 0;  // the root of all directories ends with its slash
        if (std::strncmp(realPath, realRoot, length) == 0 && realPath[length] == '/')
            file = openBelow(realRoot, realPath + length + 1, size);
    }
    std::free(realRoot);
    std::free(realPath);
    return file;
}

bool rewindFile(int descriptor) {
    return lseek(descriptor, 0, SEEK_SET) == 0;
}

void closeFile(int descriptor) {
    ::close(descriptor);
}

}  // namespace platform
