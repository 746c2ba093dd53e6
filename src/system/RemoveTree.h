// Removes a directory with everything in it.
#pragma once

namespace zt_system {

/// Removes a directory tree and goes on after failures, which it tells on standard error. Returns 0
/// if the directory itself could be removed, -1 if not, and -1, without touching anything, if the
/// path is no directory (or a link to one) or the root of the file system.
int removeTree(const char* path);

/// Tells on standard error what could not be removed and why.
void tellRemovalFailed(const char* path, int error);

}  // namespace zt_system
