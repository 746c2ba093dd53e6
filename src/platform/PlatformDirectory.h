// Lists directories and works on the entries of directory trees.
#pragma once

#include <ztlib/ZtExport.h>

#include "platform/PlatformFile.h"

namespace platform {

/// A directory of a tree and the way that led to it. Steps down never go through a link, and steps
/// up lead where the way down came from, whatever others do to the tree meanwhile, or fail. Entries
/// are told by their bare names, so nothing depends on the depth but some bytes per level; a few
/// descriptors serve for all of it. The operations return errors as said in PlatformFile.h.
class ZTLIB_API TreeCursor {
public:
    TreeCursor() = default;
    ~TreeCursor();
    TreeCursor(const TreeCursor&) = delete;
    TreeCursor& operator=(const TreeCursor&) = delete;

    enum LastLink { kRefuseLink, kFollowLink };

    /// Goes to a directory. A path that ends in a link is followed or is none (ENOTDIR). Expects no
    /// separator at its end, but for a root.
    int open(const char* path, LastLink lastLink = kRefuseLink);

    /// Whether there is no way up: the root of all directories or of a drive.
    bool isRoot() const;

    /// Whether this directory is the other one or lies below it; also when that cannot be found
    /// out.
    bool isWithin(const TreeCursor& other) const;

    /// Returns the permissions of the directory.
    int mode() const;

    /// Goes down to a directory of this one.
    int enter(const char* name);

    /// Goes back up; expects that there was a step down.
    int leave();

    int makeDirectory(const char* name, int mode) const;
    /// Removes anything but a directory; a link to one is none.
    int removeFile(const char* name) const;
    int removeDirectory(const char* name) const;

    /// Copy a file or a link to the directory where another cursor stands, by the same name. What
    /// has the name there is replaced, if it is no directory; nothing is written through a link.
    int copyFile(const char* name, const TreeCursor& target) const;
    int copyLink(const char* name, const TreeCursor& target) const;

private:
    friend class DirectorySearch;
    struct State;

    State* state_ = nullptr;
};

/// Goes through the entries of a directory whose names match a pattern, in the system's order, "."
/// and ".." among them. Holds one descriptor.
class DirectorySearch {
public:
    /// Opens the directory. In the pattern "*" stands for any characters and "?" for one. Other
    /// rules are the system's: on Windows case is ignored and "*.*" matches every name, elsewhere a
    /// character is a byte. Expects the pattern to live as long as the search.
    DirectorySearch(const char* directory, const char* pattern);
    /// Opens the directory where a cursor stands, which stays there, and lists all of it.
    explicit DirectorySearch(const TreeCursor& directory);
    ~DirectorySearch();
    DirectorySearch(const DirectorySearch&) = delete;
    DirectorySearch& operator=(const DirectorySearch&) = delete;

    /// Returns why the directory could not be opened or read further, 0 for no reason.
    int error() const { return error_; }

    /// Goes to the next entry, at first to the first; false when there is none or the directory
    /// cannot be read (any further).
    bool next();

    /// Returns the name of the entry, which holds until the next step.
    const char* name() const;

    /// Whether the name is "." or "..".
    bool isDots() const {
        const char* const text = name();
        return text[0] == '.' && (text[1] == '\0' || (text[1] == '.' && text[2] == '\0'));
    }

    /// What the entry is; links are not followed.
    EntryKind kind() const;

    /// Whether the entry is a directory or a link to one.
    bool leadsToDirectory() const;

    /// Returns when the entry was made, in units of 100 ns since the year 1601, as far as the file
    /// system knows; else the earliest time that it does know, 0 when the entry is gone.
    unsigned long long creationTime() const;

private:
    struct State;
    State* state_;
    int error_ = 0;
};

}  // namespace platform
