// What the command line asks for.
#pragma once

#include "Messages.h"

#include <ztlib/ZtVec2f.h>

#include <optional>
#include <string>
#include <vector>

namespace ztlabel {

/// A change of the mask before it is labelled.
struct MaskStep {
    enum class Kind { kErosion, kDilation, kOpening, kClosing };

    Kind kind;
    int count;
};

/// What the option of such a change is called: "erode".
const char* nameOf(MaskStep::Kind kind);

struct Options {
    std::string input;
    std::string output;  // empty: no label volume

    std::optional<double> threshold;  // in scaled units
    bool otsu = false;
    std::optional<double> upper;
    bool labelField = false;  // neither a threshold nor Otsu's method, then
    std::string namesFile;

    std::vector<MaskStep> maskSteps;  // in their order on the command line
    std::vector<ZtVec2f> region;      // the corners of a polygon in voxels; empty: everywhere
    std::string regionText;           // as it was given

    std::optional<int> connectivity;  // unset: 26, or 8 in 2-D
    long long minSize = 0;
    bool largestOnly = false;
    bool sortBySize = true;

    bool worldCoordinates = false;
    std::optional<int> rows;  // most rows of the report; unset: all, or what fits on a terminal
    std::string table;
    std::string json;
    std::string picture;
    std::string report;
    bool overwrite = false;
    Verbosity verbosity = Verbosity::normal;

    int connectivityFor(bool is2D) const { return connectivity.value_or(is2D ? 8 : 26); }
};

/// Reads the command line. Nothing when --help or --version was asked for and printed on standard
/// output. Throws CallError, with one line for the user, when the call is wrong.
std::optional<Options> parseCommandLine(int argc, char** argv);

}  // namespace ztlabel
