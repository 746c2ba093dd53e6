// Connected components of 2-D and 3-D grids: of a thresholded image, and of a label field.
#pragma once

#include <ztlib/ZtDArray.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtTypedPointer.h>

class ZtProgressInterface;

/// Labels the connected components of a regular grid and counts, per component, its voxels, its
/// marked voxels and the sums of its voxel coordinates.
///
/// A grid is described by `dims`, three numbers nx, ny, nz (nz = 1 in 2-D); voxel (x, y, z) lies at
/// index x + nx * (y + ny * z). A grid with a dimension below 1 is empty and has no components.
///
/// Connectivity: 4 (2-D faces), 8 (2-D faces and corners), 6 (3-D faces), 10 (the in-plane 8 and
/// the two faces in z), 18 (3-D faces and edges), 26 (everything around). 4 and 8 label a volume
/// slice by slice. With any other number no voxels are connected: every voxel is a component of its
/// own.
///
/// Components are numbered 1, 2, ... in the raster order of their first voxels (x fastest, then y,
/// then z). Entry 0 of a component list stands for the background; the number of components is the
/// size of the list minus one.
///
/// Limits: 64998 components with 16-bit labels, 9999998 with 32-bit labels. A labelling fails
/// exactly when, after some row of the grid, the voxels visited so far form more components than
/// that, even if they merge later. It then prints "ERROR: too many components" on standard error
/// and returns -1; the voxels before the one that was one too many carry their labels and the list
/// holds their components. An array of labels that the call has allocated is zero from there on.
///
/// Cost: linear in the number of voxels. Work space beyond input and labels, released on return: 8
/// bytes per 64 voxels of a row (a part of 64 counts as 64), twice that where the thresholds
/// differ; 4 bytes per stretch of foreground voxels in a row (connectivity 4 and 6, and stretches
/// of one value in label fields), in a pair of rows (8, 10, 18) or in 2 x 2 rows (26); as much as
/// three slices of one bit per voxel and a row of labels; and up to 128 bytes per component that
/// could have voxel coordinates summing up to 2^24 or more. A grid without connectivity, and one
/// that passes its limit, take up to 64 bytes per voxel instead. A grid of more than 2^31 - 1
/// stretches counts as exhausted memory.
///
/// Errors: exhausted memory throws ZtMemoryException; the labels given and the list are then as
/// they were. The functions keep no state: threads may label different grids at the same time.
namespace ZtConnectedComponents {

/// What is known of one component.
struct ZTLIB_API Component {
    /// Its own index; in a merged record the index of the receiving one.
    int alias;
    /// How many voxels it has (modulo 2^32).
    unsigned int numVoxels;
    /// In a thresholded image the number of its voxels at or above the upper threshold; in a label
    /// field the source label of the piece.
    unsigned int mark;
    /// Sums of the x, y and z indices of its voxels, exact sums rounded once to the nearest float.
    /// Divided by `numVoxels` they are the centre of mass.
    float sumX;
    float sumY;
    float sumZ;

    /// All fields zero.
    Component();
    Component(const Component& other);
    Component& operator=(const Component& other);

    /// Adds the counts and sums of `other` to this record and empties it, leaving this record's
    /// alias in it. With a non-zero `labelMode` the marks, being source labels, are not added.
    void addAlias(Component& other, int labelMode);
};

/// Orders by size, for sorting a list: -1 when `a` has fewer voxels than `b`, 1 when it has more,
/// else 0. The labelling functions never sort.
ZTLIB_API int compareComponents(const Component& a, const Component& b);

/// Labels the components of the voxels with values at or above `minValue` in a grid of byte, short,
/// int, float, double or ushort elements, and counts those at or above `maxValue` as marked. A
/// voxel that is not a number is background.
///
/// `labels` receives nx * ny * nz labels, 0 for background; when it is null, the array is allocated
/// with `ztmalloc` and is the caller's to release with `ztfree`. `components` may be null. For
/// integer elements each threshold is rounded as floor(value + 0.5), clamped to the range of int
/// (not a number counts as 0) and converted to the element type with wrap-around: 256 is 0 for
/// bytes.
///
/// Returns the number of components, or -1 when there are too many or when the element type is none
/// of these, which prints "Unsupported data type %s in ZtRawData()\n" on standard error and leaves
/// everything as it was. The unnamed numbers and `progress` are ignored.
ZTLIB_API int labelCC(ZtTypedPointer data, const int* dims, int connectivity,
                      unsigned short*& labels, int, double minValue, double maxValue, int, int,
                      ZtDArray<Component>* components, ZtProgressInterface* progress);

/// The wide form of `labelCC`: 32-bit labels, for up to 9999998 components; all else is the same.
ZTLIB_API int labelCCHuge(ZtTypedPointer data, const int* dims, int connectivity, int*& labels, int,
                          double minValue, double maxValue, int, int,
                          ZtDArray<Component>* components, ZtProgressInterface* progress);

/// Splits a label field into its connected pieces: neighbours belong together when their values are
/// equal. Every voxel belongs to a piece, those of value 0 too; each piece has its value as `mark`.
///
/// Expects room for nx * ny * nz entries at `labels`. Calls `startWorkingNoStop("")` of `progress`
/// before and `stopWorking` after the work, unless it is null. Returns the number of pieces, or -1
/// when there are too many. The unnamed numbers are ignored.
ZTLIB_API int labelLabels(unsigned char* labelField, const int* dims, int connectivity,
                          unsigned short* labels, int, int, ZtDArray<Component>& components,
                          ZtProgressInterface* progress);

/// The wide form of `labelLabels`: 32-bit labels, for up to 9999998 pieces; all else is the same.
ZTLIB_API int labelLabelsHuge(unsigned char* labelField, const int* dims, int connectivity,
                              int* labels, int, int, ZtDArray<Component>& components,
                              ZtProgressInterface* progress);

}  // namespace ZtConnectedComponents
