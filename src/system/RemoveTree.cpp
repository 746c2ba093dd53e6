// Removes a directory with everything in it.
#include "system/RemoveTree.h"

#include <ztlib/ZtMemory.h>
#include <ztlib/ZtString.h>

#include <cstdio>
#include <cstring>

#include "system/Slashes.h"
#include "system/TreeWalk.h"

namespace zt_system {

namespace {

using platform::EntryKind;
using platform::TreeCursor;

// Removes what a walk comes by.
class Removal {
public:
    explicit Removal(TreeCursor& cursor) : cursor_(cursor) {}

    void visit(const TreeWalk& walk, const TreeEntry& entry) {
        tell(walk, entry, cursor_.removeFile(entry.name.getString()));
    }
    bool enter(const TreeWalk&, const TreeEntry&) { return true; }
    int leave(const TreeWalk& walk, const TreeEntry& entry) {
        tell(walk, entry, cursor_.removeDirectory(entry.name.getString()));
        return 0;
    }
    // A directory that cannot be read may be empty and go all the same.
    void refuse(const TreeWalk& walk, const TreeEntry& entry, int) { leave(walk, entry); }
    void breakOff(const TreeWalk&, int) {}  // the directory will not go then

private:
    static void tell(const TreeWalk& walk, const TreeEntry& entry, int error) {
        if (error != 0)
            tellRemovalFailed(walk.pathOf(entry).getString(), error);
    }

    TreeCursor& cursor_;
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
        if (error != 0 && platform::kindOf(name.getString()) != EntryKind::kDirectory)
            return -1;
        if (error == 0) {
            if (cursor.isRoot())
                return -1;
            Removal removal(cursor);
            TreeWalk walk(cursor, path);
            if (const int lost = walk.run(removal)) {
                tellRemovalFailed(walk.path(), lost);
                return -1;
            }
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
