// ZtRawData: bulk operations on flat arrays of any primitive element type.
#pragma once

#include <ztlib/ZtBytePattern.h>
#include <ztlib/ZtDataPointer.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtTypedPointer.h>

#include <cstddef>
#include <cstdio>

class ZtProgressInterface;

/// Conversion, mapping, filling, ranges, byte order, transfer and reshaping of arrays whose element
/// type is known at run time only.
///
/// Counts are numbers of elements; a negative one is none. The arrays are the caller's and may lie
/// at any address. The types BYTE, SHORT, INT, FLOAT, DOUBLE and USHORT convert into each other; an
/// operation that does not take a type says so on the standard error stream and leaves everything
/// as it is. Large results go past the processor's caches, as fast as memory takes them.
///
/// No state is kept: threads may work on different arrays at the same time.
class ZTLIB_API ZtRawData {
public:
    // --- Conversion ---

    /// Copies `n` elements of `source` to `target`, converting the type. Values are cut to the
    /// range of the target's type; floating-point values are then truncated toward zero, and
    /// integers rounded to the nearest floating-point value. NaN gives 0, and the smallest int.
    /// Values below the range of INT give -2147483646 (from DOUBLE -2147483647 does, too); USHORT
    /// values above 32767 give the SHORT 0. COMPLEX is only copied to COMPLEX. A target of UINT,
    /// SBYTE or STRING is not taken unless the types are equal; such a source does nothing, without
    /// a word. The arrays may start at the same address where the target's elements are no larger;
    /// otherwise they must not overlap.
    static void memcpy(ZtTypedPointer target, ZtTypedPointer source, int n);

    /// Sets each of `n` target elements to (source + offset) * scale, cut to the range of its type
    /// and truncated toward zero; NaN and overlap as in `memcpy`. Integers are computed in single
    /// precision with `offset` and `scale` rounded to it, and from DOUBLE in double precision,
    /// which is rounded to single for BYTE, SHORT and USHORT and cut at -2147483646 for INT. FLOAT
    /// is computed in single precision, DOUBLE in double. COMPLEX is mapped to COMPLEX only, part
    /// by part.
    static void mapLinear(ZtTypedPointer target, ZtTypedPointer source, unsigned n, double offset,
                          double scale);

    // --- Filling ---

    /// Sets `n` elements to `value`. Integers are reduced to the bits of an integer type, as an
    /// assignment does; floating-point values convert as in `memcpy`.
    static void memset(ZtTypedPointer data, int value, unsigned n);
    static void memset(ZtTypedPointer data, double value, unsigned n);
    static void memset(ZtTypedPointer data, unsigned value, unsigned n) {
        memset(data, static_cast<long long>(value), n);
    }
    static void memset(ZtTypedPointer data, long value, unsigned n) {
        memset(data, static_cast<long long>(value), n);
    }
    static void memset(ZtTypedPointer data, unsigned long value, unsigned n) {
        memset(data, static_cast<unsigned long long>(value), n);
    }
    static void memset(ZtTypedPointer data, long long value, unsigned n);
    static void memset(ZtTypedPointer data, unsigned long long value, unsigned n);
    static void memset(ZtTypedPointer data, float value, unsigned n) {
        memset(data, static_cast<double>(value), n);
    }

    // --- Looking at values ---

    /// Finds the least and the largest of `n` elements, rounded to single precision; of COMPLEX
    /// those of all parts. NaN is passed over, unless it is the first. The first element counts
    /// even when `n` is 0; from null the outputs stay as they are.
    static void getRange(ZtTypedPointer data, unsigned n, float& minimum, float& maximum);

    /// Whether all elements equal the first one; true for none. NaN equals nothing. Of COMPLEX all
    /// parts must be equal. False for UINT, SBYTE and STRING.
    static bool isConstant(ZtTypedPointer data, unsigned n);

    // --- Byte order ---

    /// Reverses the bytes of each element in place; of COMPLEX those of each part. An unknown type
    /// is told on the standard output.
    static void swapBytes(ZtTypedPointer data, unsigned n);

    /// Reverse the bytes of `n` words of 2, 4 or 8 bytes in place.
    static void swapBytesWord2(void* data, unsigned n);
    static void swapBytesWord4(void* data, unsigned n);
    static void swapBytesWord8(void* data, unsigned n);

    // --- Transfer ---

    /// Reads up to `size` bytes from a descriptor, in calls of at most 4 MiB, until they are there,
    /// the file ends or a call fails, which is logged. Returns the number of bytes read.
    static long long read(int descriptor, void* buffer, long long size);

    /// Transfer `count` elements of `size` bytes as the runtime's functions do, in pieces of at
    /// most 4 MiB. Return the number of whole elements transferred.
    static std::size_t fread(void* buffer, std::size_t size, std::size_t count, std::FILE* stream);
    static std::size_t fwrite(const void* buffer, std::size_t size, std::size_t count,
                              std::FILE* stream);

    /// Transfer `n` elements whose bytes, in the stream, have the stated order; of COMPLEX each
    /// part by itself. What is written stays as it is in memory. Return the number of elements
    /// transferred; 0 for STRING, which is not taken.
    static std::size_t readBigEndian(ZtTypedPointer data, unsigned n, std::FILE* stream);
    static std::size_t readLittleEndian(ZtTypedPointer data, unsigned n, std::FILE* stream);
    static std::size_t writeBigEndian(ZtTypedPointer data, unsigned n, std::FILE* stream);
    static std::size_t writeLittleEndian(ZtTypedPointer data, unsigned n, std::FILE* stream);

    // --- Reshaping volumes, whose first dimension is the innermost one ---

    /// Exchanges the axes of an array in place: axis i of the result is axis permutation[i] of the
    /// array, and `dims` becomes the sizes of the result. Needs little memory where the axes that
    /// change places have equal sizes, and otherwise as much as the array, or as one of the arrays
    /// that outer axes count which stay where they are. Returns false, and changes nothing, when
    /// `permutation` is none of 0 .. n - 1, `n` is not in 1 .. 16, a size is negative or the type
    /// is STRING. Throws `ZtMemoryException`; everything is then as it was.
    static bool swapDims(ZtTypedPointer data, int* dims, const int* permutation, int n);

    /// Reverses the order of the elements of a volume of dims[0] x dims[1] x dims[2] along one
    /// axis, in place. `elementSize` is in bytes. Returns 1, or 0 when the axis is not 0, 1 or 2 or
    /// a size makes no sense.
    static int flip(void* data, int elementSize, const int* dims, int axis);

    /// Cuts the box from `boxMin` to `boxMax`, both inside of it, out of a volume of dims[0] x
    /// dims[1] x dims[2]. The box may reach beyond the volume: what is not there gets the element
    /// at `fillValue`, zeros for null. `data`, from `ztmalloc`, is released and becomes the box,
    /// which the caller releases with `ztfree`; `dims` becomes its size. Returns 1, or 0 when a
    /// side of the box is empty or a size makes no sense; nothing is changed then. Throws
    /// `ZtMemoryException`; everything is then as it was.
    static int crop(void*& data, int elementSize, int* dims, const int* boxMin, const int* boxMax,
                    const void* fillValue);

    // --- Making volumes smaller ---

    // The volume of dims[0] x dims[1] x dims[2] voxels is cut into blocks of factors[0] x
    // factors[1] x factors[2]. Each becomes one voxel of the target, of the same type, which the
    // caller gives room for (dims[i] + factors[i] - 1) / factors[i] voxels along axis i. Blocks at
    // the upper ends have the voxels that are left. Expects factors of 1 or more. The target may be
    // the source's array, but must not overlap it otherwise. `progress` hears of each slice of the
    // target; where it is interrupted, the slices that follow stay as they are. All types but
    // STRING are taken. Throw `ZtMemoryException`, having written nothing, for the work space of
    // one row.

    /// Sets each voxel to the mean of its block. Integers are rounded to the nearest one, halves
    /// away from zero; floating-point sums are of double precision.
    static void downSample3D(void* target, ZtTypedPointer source, const int* dims,
                             const int* factors, ZtProgressInterface* progress);

    /// Does so for each of the `nComponents` elements of which a voxel consists.
    static void downSample3DN(void* target, ZtTypedPointer source, const int* dims,
                              const int* factors, int nComponents, ZtProgressInterface* progress);

    /// Sets each element of each voxel to the largest one in its block; NaN only where there is
    /// nothing else.
    static void downSampleMaxFilterComponents3DN(void* target, ZtTypedPointer source,
                                                 const int* dims, const int* factors,
                                                 int nComponents, ZtProgressInterface* progress);

    /// Sets each voxel to the label that is the most frequent one in its block, on a tie the
    /// smallest. Takes the integer types.
    static void downSampleLabels3D(void* target, ZtTypedPointer source, const int* dims,
                                   const int* factors, ZtProgressInterface* progress);
};

/// Maps the elements of the source's pattern, in its order, to those of the target's, by the rules
/// of `ZtRawData::mapLinear`, until one of the two ends. Patterns count bytes: the elements lie
/// side by side in their runs, whose lengths are multiples of the element's size; a walk ends at a
/// run that is too short for an element. Component counts do not matter. Expects a target that is
/// not read-only. Types that are not primitive are not taken.
ZTLIB_API void ztmapLinear(const ZtDataPointer& target, const ZtBytePattern& targetPattern,
                           const ZtDataPointer& source, const ZtBytePattern& sourcePattern,
                           double offset, double scale);
