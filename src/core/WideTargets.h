// How a loop is compiled for several instruction sets, of which the loader picks the best that the
// processor has.
#pragma once

// Instrumented code may not run yet when the loader chooses.
#if defined(__x86_64__) && defined(__ELF__) && defined(__GNUC__) && !defined(__clang__) && \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define ZT_HAS_WIDE
#define ZT_WIDE __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define ZT_WIDE
#endif
