// Copies a directory with everything in it.
#pragma once

namespace zt_system {

/// Does what `ZtDirectory::copy` says.
int copyTree(const char* from, const char* to);

}  // namespace zt_system
