// The slashes of a path.
#pragma once

#include <ztlib/ZtString.h>

#include "platform/PlatformFile.h"

namespace zt_system {

/// Removes the slashes at the end of a path, but for the one of a root.
inline void removeTrailingSlashes(ZtString& path) {
    while (path.length() > 1 && path[path.length() - 1] == '/')
        path.removeLast();
}

/// Returns the path without slashes at its end: as it stands if there is such a name, else with
/// slashes for its back slashes. `kind` becomes what it names.
inline ZtString findSpelling(const char* path, platform::EntryKind& kind) {
    ZtString name(path);
    removeTrailingSlashes(name);
    kind = platform::kindOf(name.getString());
    if (kind == platform::EntryKind::kMissing && name.index('\\') >= 0) {
        name.replace('\\', '/');
        removeTrailingSlashes(name);
        kind = platform::kindOf(name.getString());
    }
    return name;
}

}  // namespace zt_system
