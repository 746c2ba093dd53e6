// One step of erosion or dilation on a bit mask, in its two forms.
#pragma once

#include "imageproc/RowEnds.h"

namespace maskstep {

struct Grid {
    int nx, ny, nz;
};

/// What is done: dilation takes the union of a voxel and its neighbours, erosion their
/// intersection.
enum class Operation : unsigned char { kDilation, kErosion };

/// The neighbours: those that share a face (in a single slice an edge), or in a single slice also
/// those that share a corner.
enum class Reach : unsigned char { kFaces, kCorners };

/// Each step writes its result to the bits of `out`, the bits of the last words beyond excepted,
/// and returns whether it differs from `in`. Both have the words of a ZtBitfield of one bit per
/// voxel and are not the same. Expects extents of at least 1, fewer than 2^32 voxels, and for
/// corners a single slice.

/// Looks at one voxel after the other: the oracle, and for short rows.
bool stepByVoxels(const unsigned* in, unsigned* out, const Grid& grid, Operation operation,
                  Reach reach);

/// Looks at the voxels of whole words at once. Expects nx >= 32. Where nx is a multiple of 32 the
/// neighbours in y and z are whole words; `asAnyRows` treats those rows as others, too.
bool stepByWords(const unsigned* in, unsigned* out, const Grid& grid, const RowEnds& ends,
                 Operation operation, Reach reach, bool asAnyRows = false);

}  // namespace maskstep
