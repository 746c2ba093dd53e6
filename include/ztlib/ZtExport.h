// Marks what the shared library exports; everything else is hidden.
#pragma once

#if defined(ZTLIB_STATIC)
#define ZTLIB_API
#elif defined(_WIN32)
#if defined(ZTLIB_BUILDING)
#define ZTLIB_API __declspec(dllexport)
#else
#define ZTLIB_API __declspec(dllimport)
#endif
#else
#define ZTLIB_API __attribute__((visibility("default")))
#endif

// Declares a template that the library instantiates, so that other units take it from there. On
// Windows each has its own: the compiler does not export the members that are defined in the class.
#if defined(_WIN32)
#define ZTLIB_INSTANTIATED(...)
#else
#define ZTLIB_INSTANTIATED(...) extern template __VA_ARGS__;
#endif
