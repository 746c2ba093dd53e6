// The mask that an operation reads, as one that has a bit for each voxel of the grid.
#pragma once

#include <ztlib/ZtBitfield.h>
#include <ztlib/ZtVec3i.h>

#include <cstdint>

namespace maskstep {

/// The number of voxels of a grid; 0 if an extent is below 1, 2^32 and more for too many.
inline std::uint64_t numVoxels(const ZtVec3i& dims) {
    if (dims.x < 1 || dims.y < 1 || dims.z < 1)
        return 0;
    constexpr std::uint64_t kTooMany = std::uint64_t{1} << 32;
    const std::uint64_t slice =
        static_cast<std::uint64_t>(dims.x) * static_cast<std::uint64_t>(dims.y);
    if (slice >= kTooMany)
        return kTooMany;
    return slice * static_cast<std::uint64_t>(dims.z);
}

/// Stands for `in` itself, or for a copy where that is to be overwritten or has too few bits.
class MaskSource {
public:
    MaskSource(const ZtBitfield& in, const ZtBitfield& out, unsigned numBits)
        : isCopy_(&in == &out || in.nBits() < numBits),
          copy_(isCopy_ ? in : ZtBitfield()),
          in_(in) {
        if (isCopy_ && copy_.nBits() < numBits)
            copy_.resize(numBits);
    }
    MaskSource(const MaskSource&) = delete;
    MaskSource& operator=(const MaskSource&) = delete;

    const unsigned* words() const { return isCopy_ ? copy_.words() : in_.words(); }

private:
    bool isCopy_;
    ZtBitfield copy_;
    const ZtBitfield& in_;
};

}  // namespace maskstep
