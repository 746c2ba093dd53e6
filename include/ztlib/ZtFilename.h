// ZtFilename: a text that is the path of a file.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtString.h>

/// A path with "/" between its names; the operations below know no other separator, so paths that
/// came from elsewhere go through `fixSlashes` first. Nothing but `doesExist` looks at the disk.
/// Cost, ownership and threads are those of `ZtString`.
class ZTLIB_API ZtFilename : public ZtString {
public:
    ZtFilename() = default;
    /// Takes the path as it is written.
    ZtFilename(const char* path) : ZtString(path) {}
    ZtFilename(const ZtString& path) : ZtString(path) {}

    /// Turns every back slash into a slash.
    ZtFilename& fixSlashes();

    /// Returns the directory that the path names something in: what stands before the last slash,
    /// without slashes at its end. The directory of a bare name is ".", that of "/name" is "/",
    /// that of "C:/name" is "C:/"; a path that ends with a slash names its directory itself.
    ZtFilename dirname() const;

    /// Returns what stands behind the last slash: the whole of a bare name, nothing of a path that
    /// ends with a slash.
    ZtFilename basename() const;

    /// Returns non-zero if a file, a directory or anything else answers to the path, 0 for null.
    /// Links are followed: one that leads nowhere does not exist.
    static int doesExist(const char* path);
};
