// The picture of a labelling: its middle slices and the sizes of its components.
#pragma once

#include "Report.h"

#include <string>

namespace ztlabel {

/// The bytes of a PNG file. Shows the slices through the middle of the volume along its three axes
/// (one in 2-D), in true proportion, in grey with the components in colours and the large ones
/// numbered, and a bar chart of the largest components. Sides are named where the orientation is
/// known. Throws Failure.
std::string pictureOf(const Findings& findings);

}  // namespace ztlabel
