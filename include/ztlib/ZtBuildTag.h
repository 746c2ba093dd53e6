// The build tag: a record of how, where and by whom the library was built.
#pragma once

#include <ztlib/ZtExport.h>

#include <cstdint>

/// Returns the address of the record of this build, a zero-terminated text that is to be read as a
/// `const char*`: "|", a key, "|", its value, for each of the keys vendor, product, version_major,
/// version_minor, version_patch, version_tag, comment, compiler, target_os, build_cfg, build_user,
/// build_ip, build_time, filename, path, size and sha1. Values are printable ASCII without "|", and
/// may be empty: `ZtString::explode('|', pieces)` gives an empty piece, then keys and values in
/// turn.
///
/// In the library's file the record stands behind the text "47QuentoMar11", which occurs only
/// there; `scripts/verify-tag FILE` shows and checks it. `sha1` is the digest of the file with "0"
/// in place of each digit of that value. The text is empty where the build could not write the
/// record.
extern "C" ZTLIB_API std::uintptr_t taglibGetVersion(void);
