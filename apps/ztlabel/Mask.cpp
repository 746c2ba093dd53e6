#include "Mask.h"

#include "Failure.h"

#include <ztlib/ZtBitfield.h>
#include <ztlib/ZtMorphology.h>
#include <ztlib/ZtScanConvert.h>
#include <ztlib/ZtVec2f.h>
#include <ztlib/ZtVec3i.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace ztlabel {

namespace {

constexpr int kSet = 1, kMarked = 2;

/// A mask of the volume with the bits of a slice of it at hand.
struct Slice {
    ZtBitfield& mask;
    unsigned first;
    unsigned rowLength;

    static void setSpan(void* slice, int xl, int xr, int y) {
        const auto& self = *static_cast<const Slice*>(slice);
        const unsigned row = self.first + self.rowLength * static_cast<unsigned>(y);
        self.mask.setRange(row + static_cast<unsigned>(xl), row + static_cast<unsigned>(xr));
    }
};

ZtBitfield maskOf(const Volume& volume, const StoredThreshold& lower) {
    ZtBitfield mask(static_cast<unsigned>(volume.voxelCount()));
    if (lower.none)
        return mask;
    volume.visit([&](const auto* voxels) {
        for (unsigned i = 0; i < mask.nBits(); ++i)
            if (static_cast<double>(voxels[i]) >= lower.value)
                mask.set(i);
    });
    return mask;
}

/// The voxels whose centres lie in the polygon, in every slice.
ZtBitfield regionOf(const Volume& volume, const std::vector<ZtVec2f>& polygon) {
    std::vector<ZtVec2f> corners;
    corners.reserve(polygon.size());
    for (const ZtVec2f& corner : polygon)  // the centre of voxel (0, 0) is at (0.5, 0.5) there
        corners.push_back(corner + ZtVec2f(0.5f, 0.5f));
    ZtBitfield region(static_cast<unsigned>(volume.voxelCount()));
    const auto rowLength = static_cast<unsigned>(volume.dim(0));
    const unsigned sliceLength = rowLength * static_cast<unsigned>(volume.dim(1));
    for (int z = 0; z < volume.dim(2); ++z) {
        Slice slice = {region, sliceLength * static_cast<unsigned>(z), rowLength};
        ZtScanConvert converter(0, 0, volume.dim(0) - 1, volume.dim(1) - 1);
        converter.setSpanCB(Slice::setSpan, &slice);
        converter.render(static_cast<int>(corners.size()), corners.data());
    }
    if (!region.isAnyBitSet())
        throw Failure("--roi: no voxel has its centre in the polygon");
    return region;
}

void take(const MaskStep& step, ZtBitfield& mask, const Volume& volume) {
    const ZtVec3i dims(volume.dim(0), volume.dim(1), volume.dim(2));
    const auto erode = [&] { ZtMorphology::erosion3D(mask, mask, dims, step.count); };
    const auto dilate = [&] {
        ZtMorphology::dilation3D(mask, mask, dims, static_cast<unsigned>(step.count));
    };
    if (step.kind == MaskStep::Kind::kErosion || step.kind == MaskStep::Kind::kOpening)
        erode();
    if (step.kind != MaskStep::Kind::kErosion)
        dilate();
    if (step.kind == MaskStep::Kind::kClosing)
        erode();
}

}  // namespace

Foreground foregroundOf(const Volume& volume, StoredThreshold lower, StoredThreshold upper,
                        const Options& options) {
    if (options.maskSteps.empty() && options.region.empty())
        return {volume.voxels(), lower, upper, nullptr};
    if (volume.voxelCount() > UINT32_MAX)
        throw Failure("the volume has 2^32 voxels or more: too many for a mask");

    ZtBitfield mask = maskOf(volume, lower), region;
    if (!options.region.empty()) {
        region = regionOf(volume, options.region);
        mask &= region;
    }
    for (const MaskStep& step : options.maskSteps)
        take(step, mask, volume);
    if (!options.region.empty())
        mask &= region;

    Block bytes = allocate(volume.voxelCount(), 1);
    auto* const labels = static_cast<unsigned char*>(bytes.get());
    volume.visit([&](const auto* voxels) {
        for (unsigned i = 0; i < mask.nBits(); ++i) {
            const bool marked = !upper.none && static_cast<double>(voxels[i]) >= upper.value;
            labels[i] = static_cast<unsigned char>(mask[i] ? marked ? kMarked : kSet : 0);
        }
    });
    return {ZtTypedPointer(labels), {false, kSet}, {upper.none, kMarked}, std::move(bytes)};
}

}  // namespace ztlabel
