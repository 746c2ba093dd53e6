#include "Geometry.h"

#include <cmath>

namespace ztlabel {

namespace {

double millimetresPerUnit(int units) {
    switch (units) {
        case NIFTI_UNITS_METER:
            return 1000;
        case NIFTI_UNITS_MICRON:
            return 0.001;
        default:
            return 1;
    }
}

}  // namespace

Geometry::Geometry(const nifti_image& header) {
    const double unit = millimetresPerUnit(header.xyz_units);
    const double declared[3] = {header.dx, header.dy, header.dz};
    nifti_dmat44 matrix = {};
    for (int axis = 0; axis < 3; ++axis) {
        const double size = std::fabs(declared[axis]);
        spacing_[axis] = size > 0 && std::isfinite(size) ? size * unit : unit;
        matrix.m[axis][axis] = spacing_[axis] / unit;
    }
    if (header.sform_code > 0) {
        matrix = header.sto_xyz;
        source_ = "sform";
    } else if (header.qform_code > 0) {
        matrix = header.qto_xyz;
        source_ = "qform";
    }
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 4; ++column)
            matrix_[row][column] = matrix.m[row][column] * unit;
    if (header.sform_code > 0 || header.qform_code > 0) {
        nifti_dmat44_to_orientation(matrix, &codes_[0], &codes_[1], &codes_[2]);
        oriented_ = codes_[0] != 0 && codes_[1] != 0 && codes_[2] != 0;
    }
}

void Geometry::toWorld(const double voxel[3], double world[3]) const {
    for (int row = 0; row < 3; ++row)
        world[row] = matrix_[row][0] * voxel[0] + matrix_[row][1] * voxel[1] +
                     matrix_[row][2] * voxel[2] + matrix_[row][3];
}

char Geometry::sideOf(int axis, bool rising) const {
    // Codes 1 .. 6 name an axis by the sides from which and to which it goes: L-R, R-L, P-A, ...
    static constexpr char kFrom[] = "?LRPAIS";
    static constexpr char kTo[] = "?RLAPSI";
    return (rising ? kTo : kFrom)[codes_[axis]];
}

}  // namespace ztlabel
