// ZtMorphology: erosion, dilation and seeded filling of bit masks.
#pragma once

#include <ztlib/ZtBitfield.h>
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtVec2i.h>
#include <ztlib/ZtVec3i.h>

/// Binary morphology on 2-D and 3-D masks with one bit per voxel: voxel (x, y, z) of a grid of
/// nx x ny x nz is bit x + nx (y + ny z). Dilation sets a voxel when it or a neighbour is set;
/// erosion keeps it when it and all its neighbours are set. What lies outside the grid is no
/// neighbour, so erosion removes nothing merely for touching the grid's edge.
///
/// The result gets one bit per voxel of the grid, whatever it held; the bits of its words beyond
/// are clear. Bits that the mask does not have count as clear. Where an extent of the grid is below
/// 1 the result has no bits; for a grid of 2^32 voxels or more it is left as it is. Mask and result
/// may be the same field, at the cost of a copy. Failed allocations throw `ZtMemoryException` and
/// leave the result as it was.
///
/// Rows of 32 voxels or more are worked on many voxels at a time, at the speed of memory or nearly,
/// fastest where their length is a multiple of 32. No state: any thread may call.
namespace ZtMorphology {

/// One step with the neighbours that share an edge (4) or also a corner (8) in the plane.
ZTLIB_API void dilation2D_4(const ZtBitfield& in, ZtBitfield& out, const ZtVec2i& dims);
ZTLIB_API void erosion2D_4(const ZtBitfield& in, ZtBitfield& out, const ZtVec2i& dims);
ZTLIB_API void dilation2D_8(const ZtBitfield& in, ZtBitfield& out, const ZtVec2i& dims);
ZTLIB_API void erosion2D_8(const ZtBitfield& in, ZtBitfield& out, const ZtVec2i& dims);

/// Erodes by the six neighbours that share a face, again and again until `iterations` steps are
/// done or nothing changes any more. With none, or a negative number, the result is the mask.
/// Without `fast` every voxel is looked at alone: the same result, hundreds of times slower. Takes
/// a second mask while it works when more than one step is asked for.
ZTLIB_API void erosion3D(const ZtBitfield& in, ZtBitfield& out, const ZtVec3i& dims,
                         int iterations = 1, bool fast = true);
/// Dilates likewise.
ZTLIB_API void dilation3D(const ZtBitfield& in, ZtBitfield& out, const ZtVec3i& dims,
                          unsigned int iterations = 1, bool fast = true);

/// Sets in `out` the voxels of the mask that a path over faces through set voxels joins to a seed,
/// and clears the others. Seeds outside the grid or where the mask is clear reach nothing. Returns
/// the number of voxels that are set. O(voxels / 32 + runs of voxels), without recursion.
ZTLIB_API unsigned floodfill(const ZtBitfield& in, ZtBitfield& out, const ZtVec3i& dims,
                             const ZtDArray<ZtVec3i, 1>& seeds);

/// Compares the forms of the 2-D operations on masks of nine sizes and three densities, drawn by
/// `rand` after srand(4712). Tells each mismatch on standard error and returns whether there was
/// none. Takes a fraction of a second.
ZTLIB_API bool unitTest2D();

}  // namespace ZtMorphology
