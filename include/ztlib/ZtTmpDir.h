// ZtTmpDir: a scratch directory.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtString.h>

/// The path of a scratch directory, below the system's directory for temporary files or beside a
/// given path, made unique by numbering. The object is the path, and with `autoRemove` it owns what
/// is there: on its way out it removes the tree, whoever made it. A copy has the flag, too, so the
/// first of the two to go removes the tree for both.
///
/// Unique means that nothing had the name when it was chosen. Where others may want the same name
/// at the same time, as in a shared directory for temporary files, use `createExclusive`.
///
/// Failures of removal are told on standard error. One thread at a time; the static operations
/// serve all threads.
class ZTLIB_API ZtTmpDir : public ZtString {
public:
    /// Names "tmp" and neither makes nor removes it.
    ZtTmpDir();
    /// Names a directory by `makeUnique`, with `create` makes it (ask `doesExist` whether that
    /// worked), and with `autoRemove` removes it in the end. Null is the empty name.
    ZtTmpDir(const char* name, bool create = false, bool autoRemove = false);
    ZtTmpDir(const ZtTmpDir& other);
    /// Removes the tree if `autoRemove` is set and the path exists.
    ~ZtTmpDir() override;
    ZtTmpDir& operator=(const ZtTmpDir& other);
    /// Replaces the path as it stands, and keeps the flag: expects a path that may be removed if it
    /// is set.
    ZtTmpDir& operator=(const char* path);

    /// Makes a directory that nobody else has or can look into, named as by `makeUnique` and, if
    /// somebody is faster, by the numbers after that. The path is empty if it cannot be made. The
    /// object does not remove it unless told so.
    static ZtTmpDir createExclusive(const char* name = "tmp");

    /// Whether the directory is removed with this object.
    void setAutoRemove(bool autoRemove) { autoRemove_ = autoRemove; }
    bool autoRemove() const { return autoRemove_; }

    /// Returns the path, which may be changed in place.
    char* str() { return getString(); }

    /// Returns the system's directory for temporary files, with slashes and one at its end, as the
    /// environment names it now (elsewhere than on Windows TMPDIR, else TMP, else TEMP, else
    /// "/tmp"; "/tmp/", too, for a path of more than 1022 characters). The text is the library's
    /// and holds until the environment changes and somebody asks again.
    static const char* getSystemTmpPath();

    /// Returns non-zero if the path exists, whatever it is.
    int doesExist() const { return doesExist(getString()); }
    /// The same for any path; 0 for null.
    static int doesExist(const char* path);

    /// Makes the directory, one level, with the permissions of `mode` that the system lets pass;
    /// Windows has none. Returns non-zero on success, 0 also if it exists already.
    int create(int mode = 0775);

    /// Removes the directory with everything in it. A link in it is removed, never followed. What
    /// cannot be removed is told on standard error, and the work goes on. Returns 0 on success, -1
    /// if the path is no directory (a link to one included) or the root of the file system, which
    /// stay as they are; else non-zero. Any depth; a few descriptors.
    int remove();

    /// Gives the path a name that nothing has: that of `name`, or of the path itself for null. A
    /// slash at its end is dropped. A name that starts with "/" or "./" keeps its directory; of any
    /// other only the last part counts, and lies in `getSystemTmpPath`. An empty last part becomes
    /// "tmp". If the name is taken, ".2", ".3" and so on are tried; a slash ends the path.
    void makeUnique(const char* name = nullptr);

private:
    bool autoRemove_ = false;
};
