// ZtDirectory: what a directory holds and how much room its volume has.
#pragma once

#include <ztlib/ZtDArray.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtString.h>

#include <type_traits>

/// Queries on directories by their paths. Both separators are understood: where a back slash may be
/// part of a name it is that first, and a separator if there is nothing of such a name.
///
/// In the patterns of the listings "*" stands for any characters and "?" for one; null is "*". On
/// Windows case is ignored and "*.*" matches every name, as its file search has it; elsewhere names
/// are bytes, "*" matches hidden names, too, and "*.*" those with a dot. A pattern may start with a
/// path ("sub/*.log"), which is then searched below the given one.
///
/// Listings never give "." and "..". They hold one descriptor and the names; an entry that goes
/// meanwhile stays in the list, and where reading breaks off, what was read so far counts. When
/// memory is exhausted they throw `ZtMemoryException` and leave the lists as they were. No state:
/// any thread may call.
class ZTLIB_API ZtDirectory {
public:
    /// Returns the back slash, on every system.
    static char pathDelimiter();

    /// Whether the path is a directory, or nothing at all: only a path that names something else,
    /// a link that leads nowhere, the empty path and null give false. Ask `ZtFilename::doesExist`
    /// first where it matters. Separators at the end do not count. On Windows the root of a drive
    /// gives false.
    static bool isDirectory(const char* path);

    /// Returns the bytes that the caller may still write on the volume of the directory part of a
    /// path (`ZtFilename::dirname`: "/a/b" asks about "/a", "/a/b/" about "/a/b"). When that is
    /// unknown, says so on standard output and returns -1.
    static long long freeSpace(const char* path);

    /// Appends the names of the matching entries to the list, with `dirsOnly` only those of
    /// directories and of links to directories, and sorts the whole list, old names included, by
    /// their unsigned bytes. "" is the current directory. Returns the size of the list, or -1 when
    /// there is nothing that matches ("." and ".." count here) or the directory cannot be read.
    static int scan(const char* path, ZtDArray<ZtString, 1>& list, const char* pattern = nullptr,
                    bool dirsOnly = false);

    /// Replaces the list by the names of the matching entries in the order in which they were made,
    /// the oldest first (those of the same time by name), and `times`, unless null, by those times
    /// in units of 100 ns since 1601. Where the file system does not know them, the earlier of the
    /// last changes of the content and of the entry stands in; 0 for an entry that went meanwhile.
    /// Returns the size of the list, or -1, as `scan` does, and then leaves both as they were.
    static int scan2(const char* path, ZtDArray<ZtString, 1>& list,
                     ZtDArray<unsigned long long, 1>* times = nullptr,
                     const char* pattern = nullptr, bool dirsOnly = false);

    /// The same for other unsigned 64-bit types.
    template <class U>
    static std::enable_if_t<std::is_unsigned_v<U> && sizeof(U) == 8, int> scan2(
        const char* path, ZtDArray<ZtString, 1>& list, ZtDArray<U, 1>* times,
        const char* pattern = nullptr, bool dirsOnly = false) {
        ZtDArray<unsigned long long, 1> ticks;
        ZtDArray<ZtString, 1> names;
        const int count = scan2(path, names, &ticks, pattern, dirsOnly);
        if (count < 0)
            return count;
        if (times) {
            times->resize(count);
            for (int i = 0; i < count; ++i)
                (*times)[i] = ticks[i];
        }
        list.swapWith(names);
        return count;
    }

    /// Appends the names of the matching entries that are directories, or links to some, to `dirs`
    /// and the others to `files`, and sorts both as `scan` does. Returns false, and leaves both as
    /// they were, where `scan` returns -1.
    static bool scan3(const char* path, ZtDArray<ZtString, 1>& files, ZtDArray<ZtString, 1>& dirs,
                      const char* pattern = nullptr);

    /// Copies a directory with everything in it to `to`, which is made, one level, if it is
    /// missing, and filled up if it is there; files of the same names are replaced. Links in it are
    /// copied as links, and nothing is written through a link. Permissions are copied as far as the
    /// system lets them pass, but the owner may always fill the directories; times are not. Returns
    /// the number of directories, files and links copied, `from` included, or -1 if anything could
    /// not be: that is told on standard error, and the rest is copied all the same. Devices and the
    /// like cannot be; nor a directory into itself or below. Any depth; a few descriptors.
    static int copy(const char* from, const char* to);
};
