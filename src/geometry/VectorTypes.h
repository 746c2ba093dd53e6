// Small vectors of numbers, which the compiler makes of what the processor has. Operators work lane
// by lane, so results do not depend on the instruction set. They are handed over by reference only:
// passing them by value differs between instruction sets.
#pragma once

#include <cstring>

using FourFloats = float __attribute__((vector_size(16)));
using FourDoubles = double __attribute__((vector_size(32)));
using TwoDoubles = double __attribute__((vector_size(16)));

[[gnu::always_inline]] inline void load(const float* from, FourDoubles& to) {
    FourFloats floats;
    std::memcpy(&floats, from, sizeof floats);
    to = __builtin_convertvector(floats, FourDoubles);
}

[[gnu::always_inline]] inline void store(const FourDoubles& from, float* to) {
    const FourFloats floats = __builtin_convertvector(from, FourFloats);
    std::memcpy(to, &floats, sizeof floats);
}
