// Writes the label volume with the geometry of its input.
#pragma once

#include "LabelVolume.h"
#include "OutputFiles.h"
#include "VolumeHeader.h"

#include <string>

class ZtProgressInterface;

namespace ztlabel {

/// A NIfTI file of labels, or a pair of them (`.hdr` and `.img`, whichever of both is named), each
/// compressed when its name ends in `.gz`. The version of the format, spacing, orientation and
/// extensions are the input's; scaling is reset, the intent says "label".
class LabelFile {
public:
    /// Whether a name ends as that of a NIfTI file should.
    static bool isName(const std::string& path);

    /// Opens the output or outputs.
    LabelFile(OutputFiles& outputs, const std::string& path);

    /// Throws Failure when they cannot be written.
    void write(const nifti_image& input, const LabelVolume& labels, int labelCount,
               ZtProgressInterface& progress);

private:
    bool compressed_;
    OutputFile* headerFile_ = nullptr;
    OutputFile* imageFile_ = nullptr;  // the same file, but for a pair
};

}  // namespace ztlabel
