// The loops that reduce blocks of a volume to one value each, compiled twice from the same text
// (SampleLoops.inl): for every processor, and for those with AVX2. Those over blocks of 2 x 2 x 2
// elements (SampleOctets.inl) are compiled for AVX-512, too.
//
// Nothing that this header declares may bring code into the wide unit that other units could share:
// aggregates and declarations only.
#pragma once

#include <cstddef>
#include <cstdint>

namespace rawdata {

/// The types of which blocks are reduced, the integers first.
enum Sampled : int { kSbyte8, kByte8, kShort16, kUshort16, kInt32, kUint32, kFloat32, kDouble64 };
inline constexpr int kSampledTypes = 8;
inline constexpr int kSampledIntegers = 6;

/// Blocks are reduced in two steps: the rows of a block are combined element by element, and what
/// came of them in groups along the row. Arrays of the volume may lie at any address.
struct SampleKernels {
    /// Combines `count` elements of a row with those of the rows before it.
    using Combine = void (*)(void* combined, const void* row, std::size_t count, bool isFirst);
    /// Reduces `blocks` groups of `factor` x `components` combined elements to `components` each.
    /// Their blocks have `voxels` voxels.
    using Reduce = void (*)(void* out, const void* combined, std::size_t blocks, std::size_t factor,
                            std::size_t components, std::int64_t voxels);

    struct Mean {
        Combine add;
        Reduce divide;
        std::size_t sumSize;
    };
    struct OfType {
        Mean mean;  ///< For blocks of at most kFewVoxels.
        Mean meanOfMany;
        Combine chooseLarger;
        Reduce findLargest;
    };
    OfType types[kSampledTypes];
};

/// Blocks of 2 x 2 x 2 elements, which are the most frequent ones, are reduced in one step.
struct OctetKernels {
    /// Reduces as many of `blocks` blocks in four rows, two of either slice, as are a multiple of
    /// its stride, and returns their number. Blocks are written after they are read, and in order.
    using Reduce = std::size_t (*)(void* out, const void* const rows[4], std::size_t blocks);

    Reduce findMeans[kSampledTypes];
    Reduce findMostFrequent[kSampledIntegers];  ///< The smallest of the most frequent values.
};

/// So few 16-bit values have a sum of 32 bits.
inline constexpr std::int64_t kFewVoxels = 32768;

extern const SampleKernels kPortableSampling;
extern const SampleKernels* const kWideSampling;  ///< Null where the build has none.
extern const OctetKernels kPortableOctets;
extern const OctetKernels* const kAvx2Octets;  ///< Null where the build has none.
extern const OctetKernels* const kAvx512Octets;

}  // namespace rawdata
