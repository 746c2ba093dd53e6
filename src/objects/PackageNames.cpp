// How packages are named, and what their files are called.
#include "objects/PackageNames.h"

#include <cstring>

namespace zt_objects {

namespace {

using platform::LibraryNaming;

constexpr char kPrefix[] = "lib";
constexpr char kUnixEnding[] = ".so";
constexpr char kWindowsEnding[] = ".dll";

bool hasPrefix(const ZtString& name) {
    return std::strncmp(name.getString(), kPrefix, std::strlen(kPrefix)) == 0;
}

bool endsWith(const ZtString& text, const char* ending) {
    const int start = text.length() - static_cast<int>(std::strlen(ending));
    return start >= 0 && std::strcmp(text.getString() + start, ending) == 0;
}

ZtString withoutPrefix(const ZtString& name) {
    return ZtString(name.getString() + std::strlen(kPrefix));
}

ZtString withoutEnding(const ZtString& name) {
    const int point = name.rindex('.');
    return point < 0 ? name : ZtString(name.getString(), 0, point);
}

// Replaces the last part of the path.
void setBasename(ZtFilename& path, const ZtString& name) {
    path = ZtFilename(ZtString(path.getString(), 0, path.rindex('/') + 1) + name);
}

}  // namespace

bool isAbsolute(const char* path) {
    return path[0] == '/' || (path[0] != '\0' && path[1] == ':' && path[2] != '\0');
}

void fixPackagePath(ZtFilename& path, LibraryNaming naming) {
    path.fixSlashes();
    const ZtFilename name = path.basename();
    const bool isWindows = naming == LibraryNaming::kWindows;
    if (isWindows && hasPrefix(name) && endsWith(name, kUnixEnding))
        setBasename(path, withoutEnding(withoutPrefix(name)) + kWindowsEnding);
    else if (name.rindex('.') < 0)
        path += isWindows ? kWindowsEnding : kUnixEnding;
}

ZtFilename otherPackagePath(const ZtFilename& name, const ZtFilename& fixed, LibraryNaming naming) {
    const ZtFilename asked = ZtFilename(name).fixSlashes().basename();
    const bool isWord = asked.rindex('.') < 0 && !asked.isEmptyString();
    if (naming != LibraryNaming::kUnix || !(isWord || endsWith(asked, kWindowsEnding)))
        return ZtFilename();
    ZtFilename other(fixed);
    setBasename(other, ZtString(kPrefix) + withoutEnding(asked) + kUnixEnding);
    return other;
}

ZtString initFunctionName(const ZtFilename& path, LibraryNaming naming, bool keepLib) {
    ZtString name = withoutEnding(path.basename());
    if (naming == LibraryNaming::kUnix && !keepLib && hasPrefix(name))
        name = withoutPrefix(name);
    return ZtString(0, "ostrelpackage_%s_init", name.getString());
}

}  // namespace zt_objects
