// The loops over the words of bit masks that a step of erosion or dilation is made of.
#pragma once

#include <cstddef>

#include "imageproc/MaskStep.h"

namespace maskstep {

/// The bits `offset` bits further on.
struct Shift {
    std::ptrdiff_t words;
    int bits;

    explicit Shift(long long offset)
        : words(static_cast<std::ptrdiff_t>(offset >> 5)), bits(static_cast<int>(offset & 31)) {}
};

/// Where the rows beside a row lie: above, below and, unless there is one slice only, before and
/// behind. `wholeWords` tells that no shift leaves bits.
struct Rows {
    const Shift* shifts;
    bool hasSlices;
    bool wholeWords;
};

/// Each loop writes `count` words, combined by union for dilation, by intersection for erosion.

/// Combines each word with those of the rows beside it. Unless these are whole words, one word more
/// than their shifts reach to is read.
void combineRows(Operation operation, const unsigned* in, unsigned* out, std::ptrdiff_t count,
                 const Rows& beside);

/// Combines each word of `rows` with the voxels before and behind those of `line`, of which one
/// word more is read on each side. The bits of `firsts` have no voxel before, those of `lasts` none
/// behind. Returns the bits in which some word differs from that of `in`.
unsigned combineAlong(Operation operation, const unsigned* rows, const unsigned* line,
                      const unsigned* firsts, const unsigned* lasts, const unsigned* in,
                      unsigned* out, std::ptrdiff_t count);

}  // namespace maskstep
