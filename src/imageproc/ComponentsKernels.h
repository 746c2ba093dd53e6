// The run-by-run form of labelling: what its driver (ComponentsRuns.cpp) and its kernels share.
//
// The kernels are compiled twice from the same text: in plain C++ (ComponentsPortable.cpp), and for
// processors with AVX2, BMI2 and POPCNT (ComponentsWide.cpp). Nothing that this header declares may
// bring code into the wide unit that other units could share: aggregates and declarations only.
// docs/labelling.md explains the method.
#pragma once

#include <cstddef>
#include <cstdint>

#include "imageproc/ComponentsRequest.h"

namespace components {

/// 64 voxels of a row, the first one in the lowest bit. Rows start at a new word; the bits beyond
/// the end of a row are 0.
using Word = std::uint64_t;

/// A run: a maximal stretch of columns in which a group of rows has foreground, or a stretch of
/// equal values in a row of a label field. Numbered from 0, group by group.
using Run = std::uint32_t;
inline constexpr Run kNoRun = UINT32_MAX;

/// How a row touches another one beside it: not at all, where both have foreground in the same
/// column, or also where the columns are next to each other.
enum class Reach : unsigned char { kNone, kStraight, kDiagonal };

/// The reach of a row to the rows beside it in y, in z, and in both.
struct Neighbourhood {
    Reach y, z, edge;
};

/// Rows whose voxels of one column are neighbours form a group: single rows, rows 2Y and 2Y + 1 of
/// a slice, or these of slices 2Z and 2Z + 1. A run of the union of a group is connected as a
/// whole.
enum class Grouping : unsigned char { kRows, kPairs, kBlocks };

struct Grid {
    int nx, ny, nz;
    /// Words per row.
    int words;
};

/// The slices from `begin` to before `end`. Only the last slab of a grid may have an odd number.
struct Slab {
    int begin, end;
};

/// Everything that the kernels know of a grid being labelled.
struct Volume {
    Grid grid;
    Neighbourhood reach;
    Grouping grouping;
    /// The values of a label field; null for a thresholded image.
    const unsigned char* field;
    /// The foreground; for a label field the first voxels of the runs.
    const Word* bits;
    /// The marked ones of the foreground; null when there are all or (label field) none to count.
    const Word* marks;
    /// A row without foreground.
    const Word* zeros;
    /// The union-find forest over the runs; `kPadding` entries before and behind may be read.
    Run* parents;
    Run numRuns;
};

inline constexpr int kPadding = 16;

enum class LinkResult : unsigned char {
    kDone,
    kTooMany,   ///< more components than the limit coexist after some row
    kUncertain  ///< they may; single rows (Grouping::kRows) would tell
};

/// What `link` needs beside the volume, and how far it has come. The slabs are linked in order,
/// with one of these for all.
struct Linking {
    std::uint32_t limit;
    /// linkBytes(volume) bytes.
    void* scratch;
    /// The elements of the next slab, which are fetched from memory meanwhile.
    const unsigned char* next = nullptr;
    std::ptrdiff_t nextBytes = 0;
    /// The place of the last group in the work space.
    int slot = -1;
    /// The runs and the trees so far.
    Run numRuns = 0;
    Run numRoots = 0;
};

/// The statistics of a component, in the memory of its ZtConnectedComponents::Component.
struct Record {
    std::int32_t alias;
    std::uint32_t numVoxels;
    std::uint32_t mark;
    float sums[3];
};

/// The sums of a component that a float cannot hold exactly.
struct LargeSums {
    /// 0 in a free entry.
    Run label;
    std::uint64_t sums[3];
};

/// What `write` needs beside the volume.
struct Writing {
    void* labels;
    int labelBytes;
    /// Out: one per component and, as entry 0, one for the background.
    Record* records;
    /// A hash table of free entries; numLarge is a power of 2 and at least twice the number of
    /// components that can have a sum of 2^24 or more.
    LargeSums* large;
    Run numLarge;
    /// The root of a component whose counts are found as the total minus the others; kNoRun for
    /// none. Pays where most runs are of one component.
    Run dominant;
    /// writeBytes(volume) bytes.
    void* scratch;
};

/// The steps of a labelling. None of them allocates or throws.
struct Kernels {
    /// Both take the whole grid's elements and bits and find those of the slab.
    /// Sets `bits` where an element is at or above request.lower and, unless it is null, `marks`
    /// where it is also at or above request.upper.
    void (*threshold)(const Request& request, const Grid& grid, Slab slab, Word* bits, Word* marks);
    /// Sets `starts` where a voxel is the first of its row or differs from the one before it.
    void (*findStarts)(const unsigned char* field, const Grid& grid, Slab slab, Word* starts);
    /// How many runs a slab has.
    std::uint64_t (*countRuns)(const Volume& volume, Slab slab);
    /// Work space of `link` and of `write` in bytes.
    std::size_t (*linkBytes)(const Volume& volume);
    std::size_t (*writeBytes)(const Volume& volume);
    /// Unites the runs of a slab with those that they touch. Every tree's root is its first run.
    LinkResult (*link)(const Volume& volume, Slab slab, Linking& linking);
    /// Numbers the components, writes the labels and gathers the statistics.
    void (*write)(const Volume& volume, const Writing& writing);
};

extern const Kernels kPortableKernels;
/// Null where the build has no wide kernels.
extern const Kernels* const kWideKernels;

}  // namespace components
