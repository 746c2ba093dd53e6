// The slashes of a path.
#pragma once

#include <ztlib/ZtString.h>

namespace zt_system {

/// Removes the slashes at the end of a path, but for the one of a root.
inline void removeTrailingSlashes(ZtString& path) {
    while (path.length() > 1 && path[path.length() - 1] == '/')
        path.removeLast();
}

}  // namespace zt_system
