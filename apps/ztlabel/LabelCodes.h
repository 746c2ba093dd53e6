// Label fields of any type as bytes, which is what the library splits into connected pieces.
#pragma once

#include "Volume.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ztlabel {

/// Gives every voxel of a label field a byte code such that neighbours have the same code exactly
/// when they have the same value. All not-a-numbers count as one value, and so do 0 and -0.
///
/// Up to 256 different values have a code each. With more, values that are nowhere neighbours share
/// a code: the neighbourhood graph of the values is coloured greedily, the busiest first (Welsh and
/// Powell 1967), and anatomical label fields need far fewer than 256 colours. Where even that does
/// not suffice the colours are split over several rounds of 255, and code 0 means "in another
/// round".
class LabelCodes {
public:
    LabelCodes(const Volume& volume, int connectivity);

    int roundCount() const { return rounds_; }
    std::size_t valueCount() const { return colours_.size(); }
    /// Writes a code for each voxel.
    void codesOfRound(int round, unsigned char* codes) const;

private:
    Block indices_;  // uint32_t per voxel: the number of its value, in order of appearance
    std::size_t voxelCount_;
    std::vector<uint32_t> colours_;  // by number of the value
    int rounds_ = 1;
};

}  // namespace ztlabel
