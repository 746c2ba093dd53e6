// What the library needs of the system's files beyond the C++ runtime.
//
// Errors are numbers of <cerrno> on every system, 0 for success; `std::strerror` has their texts. A
// call that a signal interrupts is made again.
#pragma once

#include <cstddef>
#include <cstdio>

namespace platform {

/// What a name stands for; links are not followed.
enum class EntryKind { kMissing, kFile, kDirectory, kLink, kOther };

/// Opens a file as `std::fopen` does, by a UTF-8 path; null when it cannot be opened, and when the
/// path is null or no UTF-8.
std::FILE* openFile(const char* path, const char* mode);

/// Whether anything answers to the path; links are followed.
bool exists(const char* path);

/// What the name itself stands for; missing, too, when that cannot be found out.
EntryKind kindOf(const char* path);

/// Whether the path names a directory or a link to one.
bool leadsToDirectory(const char* path);

/// Whether the path names a place where a volume is mounted that a search for it does not find: the
/// root of a drive.
bool isVolumeRoot(const char* path);

/// Makes one directory; the permissions are those of `mode` that the system lets pass.
int makeDirectory(const char* path, int mode);

int removeFile(const char* path);
int removeDirectory(const char* path);

/// Returns the bytes that the caller may still write on the volume of a directory, -1 if unknown.
long long freeSpace(const char* directory);

/// Writes the path of the directory for temporary files as the system has it, zero-terminated; what
/// does not fit gives the system's usual one. Expects room for 16 characters.
void temporaryPath(char* buffer, std::size_t size);

}  // namespace platform
