// How packages are named, and what their files are called.
#pragma once

#include <ztlib/ZtFilename.h>
#include <ztlib/ZtString.h>

#include "platform/PlatformLibrary.h"

namespace zt_objects {

/// Whether the path leads from a root: it begins with "/", or with a letter and ":" and has more.
bool isAbsolute(const char* path);

/// Turns back slashes into slashes and makes the last part of the path the name of a library's
/// file. On Windows libname.so becomes name.dll, elsewhere names stay as they are; a name without a
/// point gets the system's ending.
void fixPackagePath(ZtFilename& path, platform::LibraryNaming naming);

/// Returns the other path that a file may have which was asked for by `name` and is not at `fixed`:
/// where libraries are called libname.so, that, for a name without a point and for name.dll. Empty
/// if there is none.
ZtFilename otherPackagePath(const ZtFilename& name, const ZtFilename& fixed,
                            platform::LibraryNaming naming);

/// Returns the name of the initialisation function of the package at the path: the last part, cut
/// at its last point, tells the package. With `keepLib`, "lib" in front of it belongs to the name;
/// on Windows it always does.
ZtString initFunctionName(const ZtFilename& path, platform::LibraryNaming naming, bool keepLib);

}  // namespace zt_objects
