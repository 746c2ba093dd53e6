#include "RunRecord.h"

#include <ztlib/NwParamBundle.h>
#include <ztlib/ZtString.h>

#include <sstream>
#include <utility>

namespace ztlabel {

namespace {

// Exact up to a million million in the text form.
double counted(long long voxels) {
    return static_cast<double>(voxels);
}

void recordInput(NwParamBundle& input, const Findings& f) {
    const double spacing[] = {f.geometry.spacing(0), f.geometry.spacing(1), f.geometry.spacing(2)};
    input.set("File", f.options.input.c_str());
    input.set("Size", 3, f.volume.dims());
    input.set("VoxelType", voxelTypeName(f.volume.header().datatype).c_str());
    input.set("SpacingInMm", 3, spacing);
    input.set("World", f.geometry.source());
}

void recordSettings(NwParamBundle& settings, const Findings& f) {
    const Options& options = f.options;
    settings.set("Mode", options.labelField ? "labels" : "threshold");
    if (!options.labelField) {
        settings.set("Threshold", f.labelling.threshold);
        settings.set("ThresholdBy", options.otsu ? "Otsu" : "user");
    }
    if (options.upper)
        settings.set("Upper", *options.upper);
    ZtString steps;
    for (const MaskStep& step : options.maskSteps) {
        if (!steps.isEmptyString())
            steps += ' ';
        steps += nameOf(step.kind);
        steps += ' ';
        steps += ZtString::fromInt64(step.count);
    }
    if (!steps.isEmptyString())
        settings.set("MaskSteps", steps.getString());
    if (!options.region.empty())
        settings.set("Region", options.regionText.c_str());
    settings.set("Connectivity", options.connectivityFor(f.volume.is2D()));
    settings.set("MinSize", counted(options.minSize));
    settings.set("LargestOnly", options.largestOnly ? 1 : 0);
    settings.set("Sort", options.sortBySize ? "size" : "raster");
    const std::pair<const char*, const std::string&> files[] = {{"Names", options.namesFile},
                                                                {"Output", options.output},
                                                                {"Table", options.table},
                                                                {"Json", options.json},
                                                                {"Picture", options.picture}};
    for (const auto& [name, path] : files)
        if (!path.empty())
            settings.set(name, path.c_str());
}

void recordTotals(NwParamBundle& totals, const Findings& f) {
    const Labelling& labelling = f.labelling;
    const double kept = counted(keptVoxels(labelling));
    totals.set("Found", labelling.found);
    totals.set("Kept", labelling.components.size());
    totals.set("FoundVoxels", counted(labelling.foreground));
    totals.set("KeptVoxels", kept);
    totals.set("KeptVolumeInMm3", kept * f.geometry.voxelVolume());
    totals.set("KeptShare", kept / static_cast<double>(f.volume.voxelCount()));
    if (f.options.upper)
        totals.set("MarkedVoxels", counted(labelling.marked));
}

}  // namespace

std::string recordText(const Findings& findings) {
    NwParamBundle record("ztlabel");
    recordInput(*record.bundle("Input", 1), findings);
    recordSettings(*record.bundle("Settings", 1), findings);
    recordTotals(*record.bundle("Totals", 1), findings);
    std::ostringstream text;
    record.print(text);
    return text.str();
}

}  // namespace ztlabel
