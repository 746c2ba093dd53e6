// Lets the compiler check the arguments of a printf-like function against its format.
#pragma once

/// Stands behind the declaration of a printf-like function: `text` is the number of the format
/// parameter and `first` that of the first argument after it, counted from 1; a member's object is
/// number 1. Give 0 as `first` for a function that takes a `va_list`.
#if defined(__clang__)
#define ZT_FORMAT_CHECK(text, first) __attribute__((format(printf, text, first)))
#elif defined(__GNUC__)
// The standard C library's rules also where the system's own printf differs from it.
#define ZT_FORMAT_CHECK(text, first) __attribute__((format(gnu_printf, text, first)))
#else
#define ZT_FORMAT_CHECK(text, first)
#endif
