// The plain form of labelling: a union-find over voxels in one raster pass. The oracle of the fast
// forms, their fallback where the limit is passed, and what an unconnected grid is labelled with.
#pragma once

#include "imageproc/Components.h"

namespace components {

/// Labels `request` voxel by voxel. Work space: 4 bytes per voxel and 40 per provisional component.
/// Returns the number of components, or -1 when there are too many.
int labelPlain(const Request& request, ComponentList& list);

}  // namespace components
