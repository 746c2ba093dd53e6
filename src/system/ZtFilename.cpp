// Paths of files.
#include <ztlib/ZtFilename.h>

#include "platform/PlatformFile.h"

ZtFilename& ZtFilename::fixSlashes() {
    replace('\\', '/');
    return *this;
}

ZtFilename ZtFilename::dirname() const {
    const int slash = rindex('/');
    if (slash < 0)
        return ".";
    const char* const path = getString();
    int length = slash;
    while (length > 0 && path[length - 1] == '/')
        --length;
    const bool isRoot = length == 0 || (length == 2 && path[1] == ':');
    return substr(0, isRoot ? length : length - 1);
}

ZtFilename ZtFilename::basename() const {
    return substr(rindex('/') + 1, length() - 1);
}

int ZtFilename::doesExist(const char* path) {
    return path && platform::exists(path);
}
