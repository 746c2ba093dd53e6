// Queries on directories and their listings.
#include <ztlib/ZtDirectory.h>
#include <ztlib/ZtFilename.h>
#include <ztlib/ZtMemory.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/PlatformDirectory.h"
#include "system/CopyTree.h"
#include "system/Slashes.h"

namespace {

using platform::DirectorySearch;
using platform::EntryKind;
using Names = ZtDArray<ZtString, 1>;

struct TimedName {
    ZtString name;
    unsigned long long time;
};

int compareNames(const ZtString& a, const ZtString& b) {
    return std::strcmp(a.getString(), b.getString());
}

int compareTimes(const TimedName& a, const TimedName& b) {
    if (a.time != b.time)
        return a.time < b.time ? -1 : 1;
    return compareNames(a.name, b.name);
}

bool isSeparator(char c) {
    return c == '/' || c == '\\';
}

// Calls `visit` with a search that stands at each entry in turn that matches, but the dots. Returns
// whether anything matched, dots included.
template <class Visit>
bool forEachMatch(const char* path, const char* pattern, Visit visit) {
    ZtString whole(path);
    if (!whole.isEmptyString() && !isSeparator(whole[whole.length() - 1]))
        whole += '/';
    whole += pattern ? pattern : "*";
    int end = whole.length();
    while (end > 0 && !isSeparator(whole[end - 1]))
        --end;
    const ZtString names = whole.substr(end, whole.length() - 1);
    ZtString directory = end > 0 ? whole.substr(0, end - 1) : ZtString(".");

    for (bool mayTryAgain = directory.index('\\') >= 0;; mayTryAgain = false) {
        DirectorySearch search(directory.getString(), names.getString());
        if (search.error() == ENOMEM)
            ztThrowMemoryException(sizeof(search));
        if (mayTryAgain && (search.error() == ENOENT || search.error() == ENOTDIR)) {
            directory.replace('\\', '/');
            continue;
        }
        bool isFound = false;
        while (search.next()) {
            isFound = true;
            if (!search.isDots())
                visit(search);
        }
        return isFound;
    }
}

// Cuts a list back to the length that it has now, unless the change is kept.
class ListGuard {
public:
    explicit ListGuard(Names& list) : list_(list), size_(list.size()) {}
    ~ListGuard() {
        if (!isKept_)
            list_.resize(size_);
    }
    ListGuard(const ListGuard&) = delete;
    ListGuard& operator=(const ListGuard&) = delete;

    void keep() { isKept_ = true; }

private:
    Names& list_;
    int size_;
    bool isKept_ = false;
};

}  // namespace

char ZtDirectory::pathDelimiter() {
    return '\\';
}

bool ZtDirectory::isDirectory(const char* path) {
    if (!path || !*path)
        return false;
    EntryKind kind;
    const ZtString name = zt_system::findSpelling(path, kind);
    if (kind == EntryKind::kMissing)  // counts as a directory: callers rely on it
        return !platform::isVolumeRoot(path);
    return kind == EntryKind::kDirectory ||
           (kind == EntryKind::kLink && platform::leadsToDirectory(name.getString()));
}

long long ZtDirectory::freeSpace(const char* path) {
    const ZtFilename directory = ZtFilename(path).fixSlashes().dirname();
    const long long bytes = platform::freeSpace(directory.getString());
    if (bytes < 0)
        std::printf("Could not determine free disk space in >%s<\n", directory.getString());
    return bytes;
}

int ZtDirectory::scan(const char* path, Names& list, const char* pattern, bool dirsOnly) {
    ListGuard guard(list);
    const bool isFound = forEachMatch(path, pattern, [&](const DirectorySearch& entry) {
        if (!dirsOnly || entry.leadsToDirectory())
            list.push(entry.name());
    });
    if (!isFound)
        return -1;
    list.sort(compareNames);
    guard.keep();
    return list.size();
}

int ZtDirectory::scan2(const char* path, Names& list, ZtDArray<unsigned long long, 1>* times,
                       const char* pattern, bool dirsOnly) {
    ZtDArray<TimedName, 1> entries;
    const bool isFound = forEachMatch(path, pattern, [&](const DirectorySearch& entry) {
        if (!dirsOnly || entry.leadsToDirectory())
            entries.push({entry.name(), entry.creationTime()});
    });
    if (!isFound)
        return -1;
    entries.sort(compareTimes);

    Names names(0, entries.size());
    for (TimedName& entry : entries)
        names.push(entry.name);
    if (times) {
        times->resize(entries.size());
        for (int i = 0; i < entries.size(); ++i)
            (*times)[i] = entries[i].time;
    }
    list.swapWith(names);
    return list.size();
}

bool ZtDirectory::scan3(const char* path, Names& files, Names& dirs, const char* pattern) {
    ListGuard filesGuard(files);
    ListGuard dirsGuard(dirs);
    const bool isFound = forEachMatch(path, pattern, [&](const DirectorySearch& entry) {
        (entry.leadsToDirectory() ? dirs : files).push(entry.name());
    });
    if (!isFound)
        return false;
    files.sort(compareNames);
    dirs.sort(compareNames);
    filesGuard.keep();
    dirsGuard.keep();
    return true;
}

int ZtDirectory::copy(const char* from, const char* to) {
    return zt_system::copyTree(from, to);
}
