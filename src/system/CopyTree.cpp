// Copies a directory with everything in it.
#include "system/CopyTree.h"

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

void tellCopyFailed(const char* path, int error) {
    std::fprintf(stderr, "Can't copy %s:\n%s\n", path, std::strerror(error));
}

// Copies what a walk comes by to where a second cursor stands, which goes along.
class Copying {
public:
    Copying(TreeCursor& source, TreeCursor& target) : source_(source), target_(target) {}

    void visit(const TreeWalk& walk, const TreeEntry& entry) {
        const char* const name = entry.name.getString();
        count(walk, entry,
              entry.kind == EntryKind::kLink    ? source_.copyLink(name, target_)
              : entry.kind == EntryKind::kOther ? EINVAL
                                                : source_.copyFile(name, target_));
    }
    bool enter(const TreeWalk& walk, const TreeEntry& entry) {
        const char* const name = entry.name.getString();
        int error = target_.makeDirectory(name, source_.mode() | kOwnerMayFill);
        if (error == 0 || error == EEXIST)
            error = target_.enter(name);
        count(walk, entry, error);
        return error == 0;
    }
    int leave(const TreeWalk& walk, const TreeEntry& entry) {
        // Without its way back the copy would go on in a wrong place.
        const int error = target_.leave();
        if (error != 0)
            refuse(walk, entry, error);
        return error;
    }
    void refuse(const TreeWalk& walk, const TreeEntry& entry, int error) {
        count(walk, entry, error);
    }

    void breakOff(const TreeWalk& walk, int error) {
        hasFailed_ = true;
        tellCopyFailed(walk.path(), error);
    }

    // The number of entries copied, -1 if there were failures.
    int result() const { return hasFailed_ ? -1 : count_; }

    static constexpr int kOwnerMayFill = 0700;

private:
    void count(const TreeWalk& walk, const TreeEntry& entry, int error) {
        if (error == 0) {
            ++count_;
            return;
        }
        hasFailed_ = true;
        tellCopyFailed(walk.pathOf(entry).getString(), error);
    }

    TreeCursor& source_;
    TreeCursor& target_;
    int count_ = 1;  // the directory itself
    bool hasFailed_ = false;
};

// Makes the target if it is missing and goes there.
int openTarget(const char* path, const TreeCursor& source, TreeCursor& target) {
    int error = target.open(path, TreeCursor::kFollowLink);
    const bool isNew = error == ENOENT;
    if (isNew) {
        error = platform::makeDirectory(path, source.mode() | Copying::kOwnerMayFill);
        if (error == 0)
            error = target.open(path);
    }
    if (error != 0)
        return error;
    if (!target.isWithin(source))
        return 0;
    if (isNew)
        platform::removeDirectory(path);
    return EINVAL;
}

int told(const char* path, int error) {
    if (error == ENOMEM)
        ztThrowMemoryException(sizeof(TreeCursor));
    tellCopyFailed(path, error);
    return -1;
}

}  // namespace

int copyTree(const char* from, const char* to) {
    EntryKind kind;
    const ZtString sourceName = findSpelling(from, kind);
    const ZtString targetName = findSpelling(to, kind);
    TreeCursor source;
    TreeCursor target;
    if (const int error = source.open(sourceName.getString(), TreeCursor::kFollowLink))
        return told(sourceName.getString(), error);
    if (const int error = openTarget(targetName.getString(), source, target))
        return told(targetName.getString(), error);
    Copying copying(source, target);
    TreeWalk walk(source, sourceName.getString());
    if (const int error = walk.run(copying))
        return told(walk.path(), error);
    return copying.result();
}

}  // namespace zt_system
