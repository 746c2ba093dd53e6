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
