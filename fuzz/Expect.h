// What a fuzz entry holds the library to.
#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the program, which the fuzzer takes for a finding, unless the condition holds.
#define FUZZ_EXPECT(condition)                                                   \
    do {                                                                         \
        if (!(condition)) {                                                      \
            std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                        \
        }                                                                        \
    } while (false)
