// The work itself: a volume goes in, its components with their statistics come out.
#pragma once

#include "LabelVolume.h"
#include "Messages.h"
#include "Options.h"
#include "Volume.h"

#include <ztlib/ZtDArray.h>

class ZtProgressInterface;

namespace ztlabel {

/// A component of a thresholded image, or a piece of a label field, with exact sums.
struct Component {
    int label = 0;   // as in the label volume; 0 when it is left out
    int number = 0;  // in the raster order of first voxels, from 1
    long long voxels = 0;
    long long marked = 0;   // voxels at or above the upper threshold
    double source = 0;      // the scaled value of a piece of a label field
    long long sum[3] = {};  // of its voxels' indices
    int box[6] = {};        // least and largest x, y, z

    double centroid(int axis) const {
        return static_cast<double>(sum[axis]) / static_cast<double>(voxels);
    }
};

struct Labelling {
    LabelVolume labels;
    /// Those that are kept, in the order of their labels 1, 2, ...
    ZtDArray<Component> components;
    int found = 0;             // components before any were left out
    long long foreground = 0;  // voxels in components, kept or not
    long long marked = 0;      // of these, those at or above the upper threshold
    double threshold = 0;      // in scaled units, also where it was found by Otsu's method
};

/// Labels, measures, leaves out what the options do not keep, and numbers the rest. Throws Failure.
Labelling label(const Volume& volume, const Options& options, const Messages& messages,
                ZtProgressInterface& progress);

}  // namespace ztlabel
