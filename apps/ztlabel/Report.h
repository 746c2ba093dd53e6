// What was found, as text for people, as a table for spreadsheets and as JSON for programs.
#pragma once

#include "Geometry.h"
#include "Labelling.h"
#include "Names.h"

#include <string>

namespace ztlabel {

/// Everything that the reports tell.
struct Findings {
    const Options& options;
    const Volume& volume;
    const Geometry& geometry;
    const Labelling& labelling;
    const Names& names;
};

/// Times in seconds.
struct Timings {
    double reading = 0;
    double labelling = 0;
    double writing = 0;
};

/// The report of standard output: what was labelled and how, at most `maxRows` rows, totals, times.
std::string reportText(const Findings& findings, const Timings& timings, int maxRows);

/// A line of column names, then one line per component, separated by tabs or commas. Numbers with a
/// fraction have nine significant digits, texts stand in quotes where CSV needs them (RFC 4180).
std::string tableText(const Findings& findings, bool commas);

std::string jsonText(const Findings& findings);

/// The voxels of the components that are kept.
long long keptVoxels(const Labelling& labelling);

}  // namespace ztlabel
