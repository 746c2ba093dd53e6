// Scratch directories: their names, their making and their end.
#include <ztlib/ZtFilename.h>
#include <ztlib/ZtTmpDir.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <mutex>

#include "platform/PlatformFile.h"
#include "system/RemoveTree.h"

namespace {

constexpr std::size_t kTmpPathSize = 1024;
constexpr char kDefaultName[] = "tmp";
constexpr int kMode = 0775;

void fixTmpPath(char* path) {
    for (char* c = path; *c; ++c)
        if (*c == '\\')
            *c = '/';
    const std::size_t length = std::strlen(path);
    if (length == 0 || path[length - 1] != '/')
        std::strcpy(path + length, "/");
}

}  // namespace

ZtTmpDir::ZtTmpDir() : ZtTmpDir(kDefaultName) {}

ZtTmpDir::ZtTmpDir(const char* name, bool create, bool autoRemove) : ZtString(name) {
    makeUnique();
    if (create)
        this->create(kMode);
    autoRemove_ = autoRemove;
}

ZtTmpDir::ZtTmpDir(const ZtTmpDir& other) = default;

ZtTmpDir::~ZtTmpDir() {
    if (!autoRemove_)
        return;
    try {
        if (doesExist())
            remove();
    } catch (...) {
        zt_system::tellRemovalFailed(getString(), ENOMEM);
    }
}

ZtTmpDir& ZtTmpDir::operator=(const ZtTmpDir& other) = default;

ZtTmpDir& ZtTmpDir::operator=(const char* path) {
    ZtString::operator=(path);
    return *this;
}

ZtTmpDir ZtTmpDir::createExclusive(const char* name) {
    // Somebody else may take a name between its choice and the making, again and again.
    constexpr int kAttempts = 1000;
    ZtTmpDir directory(name);
    int error = platform::makeDirectory(directory.getString(), 0700);
    for (int attempt = 1; error == EEXIST && attempt < kAttempts; ++attempt) {
        directory.makeUnique(name ? name : "");
        error = platform::makeDirectory(directory.getString(), 0700);
    }
    if (error != 0)
        directory.clear();
    return directory;
}

const char* ZtTmpDir::getSystemTmpPath() {
    static std::mutex mutex;
    static char shown[kTmpPathSize];
    char path[kTmpPathSize];
    platform::temporaryPath(path, kTmpPathSize - 1);  // leaves room for a slash
    fixTmpPath(path);
    // Others may be reading what they got, which is left alone unless it is out of date.
    const std::lock_guard<std::mutex> lock(mutex);
    if (std::strcmp(shown, path) != 0)
        std::strcpy(shown, path);
    return shown;
}

int ZtTmpDir::doesExist(const char* path) {
    return ZtFilename::doesExist(path);
}

int ZtTmpDir::create(int mode) {
    return platform::makeDirectory(getString(), mode) == 0;
}

int ZtTmpDir::remove() {
    return zt_system::removeTree(getString());
}

void ZtTmpDir::makeUnique(const char* name) {
    ZtFilename path(name ? name : getString());
    if (path.length() > 0 && path[path.length() - 1] == '/')
        path.removeLast();
    const bool keepsDirectory = path[0] == '/' || std::strncmp(path.getString(), "./", 2) == 0;
    const ZtFilename lastPart = path.basename();
    ZtString first =
        keepsDirectory ? path.substr(0, path.rindex('/')) : ZtString(getSystemTmpPath());
    first += lastPart.isEmptyString() ? kDefaultName : lastPart.getString();

    ZtString candidate(first);
    for (int number = 2; platform::kindOf(candidate.getString()) != platform::EntryKind::kMissing;
         ++number) {
        candidate = first;
        candidate += '.';
        candidate += ZtString::fromInt64(number);
    }
    candidate += '/';
    swapWith(candidate);
}
