// What makes a shared library a package: its initialisation function.
#pragma once

#include <ztlib/ZtExport.h>

/// Marks the functions that a package exports:
///
///     extern "C" ZT_PACKAGE_API int ostrelpackage_shapes_init() { ... }
///
/// is the initialisation function of the package "shapes", which `ZtDSO::open` calls each time it
/// opens the package. It registers the package's types, so that objects can be made from their
/// names. What it returns is not looked at.
#if defined(_WIN32)
#define ZT_PACKAGE_API __declspec(dllexport)
#else
#define ZT_PACKAGE_API __attribute__((visibility("default")))
#endif

/// Registers the types of the library's own classes and returns 0. Runs by itself when the shared
/// library is loaded; once is enough, and further calls do nothing.
extern "C" ZTLIB_API int ostrelpackage_ztlib_init();
