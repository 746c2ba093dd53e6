// Counting, searching and combining arrays of 32-bit words, as wide as the processor allows.
#pragma once

#include <cstddef>

// Word arrays may lie at any address that suits an unsigned int; they may be the same array but
// must not overlap otherwise. A `count` of 0 allows null.
namespace bitkernels {

/// The number of set bits.
std::size_t countSetBits(const unsigned* words, std::size_t count);

/// The index of the first word that differs from `value`, or `count`.
std::size_t firstOtherThan(unsigned value, const unsigned* words, std::size_t count);

/// The index of the last word that is not zero, or `count`.
std::size_t lastNonZero(const unsigned* words, std::size_t count);

/// Whether some bit is set in both `a` and `b`.
bool haveCommonBit(const unsigned* a, const unsigned* b, std::size_t count);

/// Whether every bit that is set in `inner` is set in `outer`.
bool contains(const unsigned* outer, const unsigned* inner, std::size_t count);

/// Combines each word of `to` with that of `from`.
void exclusiveOr(unsigned* to, const unsigned* from, std::size_t count);
void unite(unsigned* to, const unsigned* from, std::size_t count);
void intersect(unsigned* to, const unsigned* from, std::size_t count);

void complement(unsigned* words, std::size_t count);

}  // namespace bitkernels
