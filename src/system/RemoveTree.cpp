// Removes a directory with everything in it, without recursion: trees may be deep.
#include "system/RemoveTree.h"

#include <ztlib/ZtString.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/PlatformDirectory.h"
#include "system/Slashes.h"

namespace zt_system {

namespace {

using platform::DirectorySearch;
using platform::EntryKind;
using platform::TreeCursor;

struct Entry {
    ZtString name;
    EntryKind kind;
};

// A directory on the way down, with what it held when it was entered.
struct Level {
    ZtDArray<Entry, 1> entries;
    int next = 0;
};

int compareEntries(const Entry& a, const Entry& b) {
    return std::strcmp(a.name.getString(), b.name.getString());
}

// The walk over one tree.
class Removal {
public:
    explicit Removal(const char* path) : path_(path) {}

    // Empties the directory where the cursor stands. Returns an error if the walk had to stop.
    int emptyTree(TreeCursor& cursor) {
        listLevel(cursor);
        for (;;) {
            Level& level = levels_.last();
            if (level.next < level.entries.size()) {
                const Entry& entry = level.entries[level.next++];
                if (entry.kind != EntryKind::kDirectory || !descend(cursor, entry))
                    remove(cursor, entry);
                continue;
            }
            levels_.pop_back();
            if (levels_.size() == 0)
                return 0;
            if (const int error = ascend(cursor))
                return error;
        }
    }

private:
    void listLevel(const TreeCursor& cursor) {
        levels_.push(Level());
        ZtDArray<Entry, 1>& entries = levels_.last().entries;
        DirectorySearch search(cursor);
        while (search.next())
            if (!search.isDots())
                entries.push({search.name(), search.kind()});
        if (search.error() == ENOMEM)
            ztThrowMemoryException(sizeof(search));
        entries.sort(compareEntries);
    }

    bool descend(TreeCursor& cursor, const Entry& entry) {
        if (cursor.enter(entry.name.getString()) != 0)
            return false;
        path_ += '/';
        path_ += entry.name;
        listLevel(cursor);
        return true;
    }

    // Goes up from a directory that is done and removes it.
    int ascend(TreeCursor& cursor) {
        if (const int error = cursor.leave()) {
            tellRemovalFailed(path_.getString(), error);
            return error;
        }
        const Level& level = levels_.last();
        const Entry& entry = level.entries[level.next - 1];
        path_.removeLast(entry.name.length() + 1);
        remove(cursor, entry);
        return 0;
    }

    void remove(TreeCursor& cursor, const Entry& entry) {
        const char* const name = entry.name.getString();
        const int error = entry.kind == EntryKind::kDirectory ? cursor.removeDirectory(name)
                                                              : cursor.removeFile(name);
        if (error == 0)
            return;
        ZtString path(path_);
        path += '/';
        path += entry.name;
        tellRemovalFailed(path.getString(), error);
    }

    ZtString path_;  // of the directory where the cursor stands, for the messages
    ZtDArray<Level, 1> levels_;
};

}  // namespace

int removeTree(const char* path) {
    ZtString name(path);
    removeTrailingSlashes(name);
    {
        TreeCursor cursor;
        const int error = cursor.open(name.getString());
        if (error == ENOMEM)
            ztThrowMemoryException(sizeof(cursor));
        // One that cannot be read may be empty and go all the same.
        if (error != 0 && platform::kindOf(name.getString()) != EntryKind::kDirectory)
            return -1;
        if (error == 0) {
            if (cursor.isRoot())
                return -1;
            if (Removal(path).emptyTree(cursor) != 0)
                return -1;
        }
    }
    const int error = platform::removeDirectory(name.getString());
    if (error != 0)
        tellRemovalFailed(path, error);
    return error == 0 ? 0 : -1;
}

void tellRemovalFailed(const char* path, int error) {
    std::fprintf(stderr, "Can't delete %s:\n%s\n", path, std::strerror(error));
}

}  // namespace zt_system
