// The foreground that is labelled: the voxels at or above the threshold, or what the options make
// of them first.
#pragma once

#include "Options.h"
#include "Threshold.h"
#include "Volume.h"

#include <ztlib/ZtTypedPointer.h>

namespace ztlabel {

/// Elements with the thresholds that make them foreground and mark them.
struct Foreground {
    ZtTypedPointer voxels;
    StoredThreshold lower;
    StoredThreshold upper;
    Block own;  // where the elements are not the volume's
};

/// The volume with its thresholds; or, where the options ask for steps of morphology or a region,
/// bytes made of the mask that these leave, above which the upper threshold still tells the marked
/// voxels. Throws Failure when the region has no voxel.
Foreground foregroundOf(const Volume& volume, StoredThreshold lower, StoredThreshold upper,
                        const Options& options);

}  // namespace ztlabel
