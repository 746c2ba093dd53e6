// What the library needs of the system's loader of shared libraries.
#pragma once

namespace platform {

/// How the files of shared libraries are named: libname.so or name.dll.
enum class LibraryNaming { kUnix, kWindows };

LibraryNaming libraryNaming();

/// Loads a shared library, with all that it needs, by a UTF-8 path; a name without a directory is
/// looked for where the system looks. What it defines stays its own. Returns null when that fails;
/// shows nothing to the user. A library that is loaded already is the same one.
void* loadLibrary(const char* path);

/// Returns the address of what a library exports by that name, null if there is none.
void* findSymbol(void* library, const char* name);

}  // namespace platform
