// The run-by-run form of labelling.
#pragma once

#include "imageproc/Components.h"
#include "imageproc/ComponentsKernels.h"

namespace components {

/// Whether `connectivity` is a known one; if so, sets `reach`.
bool findNeighbourhood(int connectivity, Neighbourhood& reach);

/// Labels `request`, whose connectivity is a known one, by `kernels`. Returns the number of
/// components, or -1 when there are too many.
int labelRuns(const Request& request, const Kernels& kernels, ComponentList& list);

}  // namespace components
