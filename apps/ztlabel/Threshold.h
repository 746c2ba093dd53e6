// Thresholds: from scaled values, in which users think, to stored values, which are compared.
#pragma once

#include "Volume.h"

namespace ztlabel {

/// A threshold for stored values, as the library takes it; `none` when no stored value reaches it.
struct StoredThreshold {
    bool none = false;
    double value = 0;
};

/// The least stored value whose scaled value is at or above `scaled`, so that comparing stored
/// values with it gives exactly what comparing scaled ones with `scaled` would. Single-precision
/// voxels that are not scaled are compared in their own precision: 0.7 includes a voxel stored as
/// 0.7f.
StoredThreshold storedThreshold(const Volume& volume, double scaled);

/// The threshold that separates the volume's values best into two classes, in scaled units: it
/// maximises the variance between the classes of the histogram (N. Otsu, "A threshold selection
/// method from gray-level histograms", IEEE Trans. SMC 9, 1979). Integer voxels that span at most
/// 65536 values have one bin per value, all others 4096 bins between the least and the largest
/// finite value; the threshold is the lower edge of the first bin of the upper class. Throws
/// Failure when fewer than two different values occur.
double otsuThreshold(const Volume& volume);

}  // namespace ztlabel
