// What a run was asked to do and what it found in all, as a bundle of parameters.
#pragma once

#include "Report.h"

#include <string>

namespace ztlabel {

/// The text form of the bundle "ztlabel" with the bundles "Input", "Settings" and "Totals".
std::string recordText(const Findings& findings);

}  // namespace ztlabel
