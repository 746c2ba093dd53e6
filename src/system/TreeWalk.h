// Goes through a directory tree without recursion: trees may be deep.
#pragma once

#include <ztlib/ZtDArray.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtString.h>

#include <cerrno>
#include <cstring>

#include "platform/PlatformDirectory.h"

namespace zt_system {

struct TreeEntry {
    ZtString name;
    platform::EntryKind kind;
};

/// A walk through all that lies below a directory, the entries of each in the order of their names.
/// A directory is listed when it is entered, and left when all in it is done; links are not
/// followed. Memory grows with the entries of the directories on the way down.
class TreeWalk {
public:
    /// Starts where the cursor stands; `path` is how messages call that place.
    TreeWalk(platform::TreeCursor& cursor, const char* path) : cursor_(cursor), path_(path) {}

    /// Returns how messages call an entry of the directory where the walk is.
    ZtString pathOf(const TreeEntry& entry) const {
        ZtString path(path_);
        path += '/';
        path += entry.name;
        return path;
    }

    /// Goes through the tree. Calls `visitor.visit(walk, entry)` for each entry that is no
    /// directory; for each one that is, `visitor.refuse(walk, entry, error)` if it cannot be
    /// entered, else `visitor.enter(walk, entry)` with the cursor in it and, if that returned true
    /// and the things in it are done, `visitor.leave(walk, entry)` with the cursor back. Calls
    /// `visitor.breakOff(walk, error)` where reading a directory does; what was read counts. Ends
    /// and returns an error where `leave` returns one or the way back from a directory is gone.
    template <class Visitor>
    int run(Visitor& visitor) {
        list(visitor);
        for (;;) {
            Level& level = levels_.last();
            if (level.next < level.entries.size()) {
                const TreeEntry entry = level.entries[level.next++];
                if (entry.kind != platform::EntryKind::kDirectory)
                    visitor.visit(*this, entry);
                else if (const int error = goDown(visitor, entry))
                    return error;
                continue;
            }
            levels_.pop_back();
            if (levels_.isEmptyArray())
                return 0;
            if (const int error = cursor_.leave())
                return error;
            const Level& above = levels_.last();
            const TreeEntry entry = above.entries[above.next - 1];
            path_.removeLast(entry.name.length() + 1);
            if (const int error = visitor.leave(*this, entry))
                return error;
        }
    }

    /// Returns how messages call the directory where the walk is.
    const char* path() const { return path_.getString(); }

private:
    struct Level {
        ZtDArray<TreeEntry, 1> entries;
        int next = 0;
    };

    static int compare(const TreeEntry& a, const TreeEntry& b) {
        return std::strcmp(a.name.getString(), b.name.getString());
    }

    template <class Visitor>
    void list(Visitor& visitor) {
        levels_.push(Level());
        ZtDArray<TreeEntry, 1>& entries = levels_.last().entries;
        platform::DirectorySearch search(cursor_);
        while (search.next())
            if (!search.isDots())
                entries.push({search.name(), search.kind()});
        if (search.error() == ENOMEM)
            ztThrowMemoryException(sizeof(search));
        if (search.error() != 0)
            visitor.breakOff(*this, search.error());
        entries.sort(compare);
    }

    template <class Visitor>
    int goDown(Visitor& visitor, const TreeEntry& entry) {
        if (const int error = cursor_.enter(entry.name.getString())) {
            visitor.refuse(*this, entry, error);
            return 0;
        }
        if (!visitor.enter(*this, entry))
            return cursor_.leave();
        path_ += '/';
        path_ += entry.name;
        list(visitor);
        return 0;
    }

    platform::TreeCursor& cursor_;
    ZtString path_;
    ZtDArray<Level, 1> levels_;
};

}  // namespace zt_system
