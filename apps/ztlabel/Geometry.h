// Where the voxels of a volume lie in the world.
#pragma once

#include <nifti2_io.h>

namespace ztlabel {

/// Spacing and orientation from a NIfTI header, lengths in millimetres (other units are converted,
/// an unknown unit is taken as millimetres). World coordinates are those of the sform, where there
/// is one, else of the qform, else voxel indices times spacing.
class Geometry {
public:
    explicit Geometry(const nifti_image& header);

    /// Never zero or negative: a spacing that is missing counts as 1.
    double spacing(int axis) const { return spacing_[axis]; }
    double voxelVolume() const { return spacing_[0] * spacing_[1] * spacing_[2]; }
    void toWorld(const double voxel[3], double world[3]) const;

    /// Where the world coordinates come from: "sform", "qform" or "spacing".
    const char* source() const { return source_; }
    bool isOriented() const { return oriented_; }
    /// The letter (L R P A I S) of the side towards which an axis's indices fall or rise. Expects
    /// an oriented geometry.
    char sideOf(int axis, bool rising) const;

private:
    double spacing_[3];
    double matrix_[3][4];
    bool oriented_ = false;
    const char* source_ = "spacing";
    int codes_[3] = {};
};

}  // namespace ztlabel
