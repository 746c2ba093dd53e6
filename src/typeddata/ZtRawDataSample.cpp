// Making volumes smaller: one value for each block of voxels.
#include <ztlib/ZtContract.h>
#include <ztlib/ZtPrimType.h>
#include <ztlib/ZtProgressInterface.h>
#include <ztlib/ZtRawData.h>
#include <ztlib/ZtTypedPointer.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "core/WorkArray.h"
#include "typeddata/RawKernels.h"
#include "typeddata/RawTypes.h"
#include "typeddata/SampleKernels.h"

namespace {

using rawdata::OctetKernels;
using rawdata::SampleKernels;

const SampleKernels& sampling() {
    const bool isWide = rawdata::kWideSampling && rawdata::formInUse() >= rawdata::Form::kAvx2;
    return isWide ? *rawdata::kWideSampling : rawdata::kPortableSampling;
}

/// Null for the plain form, in which blocks of 2 x 2 x 2 are like others.
const OctetKernels* octets() {
    switch (rawdata::formInUse()) {
        case rawdata::Form::kAvx512:
            return rawdata::kAvx512Octets;
        case rawdata::Form::kAvx2:
            return rawdata::kAvx2Octets;
        case rawdata::Form::kSse2:
            return &rawdata::kPortableOctets;
        default:
            return nullptr;
    }
}

/// Finds a type among those of which blocks are reduced.
bool findSampled(ZtPrimType type, int& sampled) {
    constexpr int kTypes[rawdata::kSampledTypes] = {
        ZtPrimType::SBYTE, ZtPrimType::BYTE, ZtPrimType::SHORT, ZtPrimType::USHORT,
        ZtPrimType::INT,   ZtPrimType::UINT, ZtPrimType::FLOAT, ZtPrimType::DOUBLE};
    const int* const found = std::find(std::begin(kTypes), std::end(kTypes), type.getType());
    sampled = static_cast<int>(found - kTypes);
    return sampled < rawdata::kSampledTypes;
}

/// A volume cut into blocks. Those at its upper ends may be cut off.
struct Blocks {
    const unsigned char* source;
    unsigned char* target;
    std::size_t elementSize;
    std::size_t components;
    std::int64_t size[3];
    std::int64_t factor[3];
    std::int64_t count[3];

    Blocks(void* itsTarget, ZtTypedPointer itsSource, const int* dims, const int* factors,
           int nComponents)
        : source(static_cast<const unsigned char*>(static_cast<void*>(itsSource))),
          target(static_cast<unsigned char*>(itsTarget)),
          elementSize(static_cast<std::size_t>(itsSource.primType().size())),
          components(static_cast<std::size_t>(std::max(nComponents, 0))) {
        for (int i = 0; i < 3; ++i) {
            ZT_REQUIRE(dims[i] >= 0 && factors[i] >= 1);
            size[i] = std::max(dims[i], 0);
            factor[i] = std::max(factors[i], 1);
            count[i] = (size[i] + factor[i] - 1) / factor[i];
        }
        // Of COMPLEX each part is a component.
        if (itsSource.primType() == ZtPrimType::COMPLEX) {
            elementSize /= 2;
            components *= 2;
        }
    }

    /// How far the block reaches that is the `index`-th along an axis.
    std::int64_t extent(int axis, std::int64_t index) const {
        return std::min(factor[axis], size[axis] - index * factor[axis]);
    }
    std::size_t rowElements() const { return static_cast<std::size_t>(size[0]) * components; }
    const unsigned char* row(std::int64_t y, std::int64_t z) const {
        return source + static_cast<std::size_t>(z * size[1] + y) * rowElements() * elementSize;
    }
    unsigned char* targetRow(std::int64_t y, std::int64_t z) const {
        return target +
               static_cast<std::size_t>((z * count[1] + y) * count[0]) * components * elementSize;
    }
    bool isEmpty() const { return components == 0 || count[0] * count[1] * count[2] == 0; }
};

/// Calls `reduce(y, z)` for each row of blocks, reporting to `progress`, until it is interrupted.
template <class Reduce>
void forEachRow(const Blocks& blocks, ZtProgressInterface* progress, Reduce reduce) {
    struct Reported {
        explicit Reported(ZtProgressInterface* itsProgress) : progress(itsProgress) {
            if (progress)
                progress->startWorking("");
        }
        ~Reported() {
            if (progress)
                progress->stopWorking();
        }
        ZtProgressInterface* progress;
    } const reported(progress);
    for (std::int64_t z = 0; z < blocks.count[2]; ++z) {
        for (std::int64_t y = 0; y < blocks.count[1]; ++y)
            reduce(y, z);
        if (!progress)
            continue;
        progress->setProgressValue(static_cast<float>(z + 1) / static_cast<float>(blocks.count[2]));
        if (progress->wasInterrupted())
            return;
    }
}

/// Reduces blocks of 2 x 2 x 2 elements, of as many as `reduce` takes of the row of blocks (y, z),
/// and returns their number; none where blocks are of another shape or `reduce` is null.
std::int64_t reduceOctets(const Blocks& blocks, std::int64_t y, std::int64_t z,
                          OctetKernels::Reduce reduce) {
    if (!reduce || blocks.components != 1 || blocks.factor[0] != 2 || blocks.extent(1, y) != 2 ||
        blocks.extent(2, z) != 2)
        return 0;
    const std::int64_t firstY = y * blocks.factor[1];
    const std::int64_t firstZ = z * blocks.factor[2];
    const void* const rows[4] = {blocks.row(firstY, firstZ), blocks.row(firstY + 1, firstZ),
                                 blocks.row(firstY, firstZ + 1),
                                 blocks.row(firstY + 1, firstZ + 1)};
    return static_cast<std::int64_t>(
        reduce(blocks.targetRow(y, z), rows, static_cast<std::size_t>(blocks.size[0] / 2)));
}

/// Reduces blocks by combining their rows and then the elements of the combined row; those of
/// 2 x 2 x 2 elements by `reduceOctet`, which may be null.
void combineBlocks(const Blocks& blocks, SampleKernels::Combine combine,
                   SampleKernels::Reduce reduce, std::size_t combinedSize,
                   OctetKernels::Reduce reduceOctet, ZtProgressInterface* progress) {
    if (blocks.isEmpty())
        return;
    const std::size_t row = blocks.rowElements();
    WorkArray<double> combined(row * combinedSize / sizeof(double) + 1);
    const std::int64_t wholeBlocks = blocks.size[0] / blocks.factor[0];
    const std::int64_t rest = blocks.size[0] % blocks.factor[0];
    const std::size_t perBlock = static_cast<std::size_t>(blocks.factor[0]) * blocks.components;
    forEachRow(blocks, progress, [&](std::int64_t y, std::int64_t z) {
        const std::int64_t reduced = reduceOctets(blocks, y, z, reduceOctet);
        if (reduced == blocks.count[0])
            return;
        const std::size_t first = static_cast<std::size_t>(reduced) * perBlock;
        const std::int64_t rowsY = blocks.extent(1, y);
        const std::int64_t rowsZ = blocks.extent(2, z);
        for (std::int64_t dz = 0; dz < rowsZ; ++dz)
            for (std::int64_t dy = 0; dy < rowsY; ++dy)
                combine(combined.data(),
                        blocks.row(y * blocks.factor[1] + dy, z * blocks.factor[2] + dz) +
                            first * blocks.elementSize,
                        row - first, dy + dz == 0);
        const auto whole = static_cast<std::size_t>(wholeBlocks - reduced);
        unsigned char* const out = blocks.targetRow(y, z) + static_cast<std::size_t>(reduced) *
                                                                blocks.components *
                                                                blocks.elementSize;
        const std::int64_t rows = rowsY * rowsZ;
        reduce(out, combined.data(), whole, static_cast<std::size_t>(blocks.factor[0]),
               blocks.components, rows * blocks.factor[0]);
        if (rest > 0) {
            const auto* const left = reinterpret_cast<const unsigned char*>(combined.data()) +
                                     whole * perBlock * combinedSize;
            reduce(out + whole * blocks.components * blocks.elementSize, left, 1,
                   static_cast<std::size_t>(rest), blocks.components, rows * rest);
        }
    });
}

/// The type of which the elements of COMPLEX, or of a type itself, are; false, and says so, where
/// blocks of it cannot be reduced.
bool findElements(ZtPrimType type, int& sampled) {
    if (findSampled(type == ZtPrimType::COMPLEX ? ZtPrimType(ZtPrimType::FLOAT) : type, sampled))
        return true;
    rawdata::reportUnsupported(type, "::downSample3D");
    return false;
}

/// The most frequent of some values, the smallest of those that are; reorders them.
template <class T>
T mostFrequent(T* values, std::size_t count) {
    const auto isOther = [first = values[0]](T value) { return value != first; };
    if (std::none_of(values, values + count, isOther))
        return values[0];
    std::sort(values, values + count);
    T best = values[0];
    std::size_t most = 0;
    for (std::size_t i = 0; i < count;) {
        const std::size_t first = i;
        while (i < count && values[i] == values[first])
            ++i;
        if (i - first > most) {
            most = i - first;
            best = values[first];
        }
    }
    return best;
}

template <class T>
void sampleLabels(const Blocks& blocks, int sampled, ZtProgressInterface* progress) {
    if (blocks.isEmpty())
        return;
    std::uint64_t most = 1;
    for (int i = 0; i < 3; ++i)
        most *= static_cast<std::uint64_t>(std::min(blocks.factor[i], blocks.size[i]));
    WorkArray<T> values(most);
    const OctetKernels::Reduce reduce = octets() ? octets()->findMostFrequent[sampled] : nullptr;
    forEachRow(blocks, progress, [&](std::int64_t y, std::int64_t z) {
        const std::int64_t rowsY = blocks.extent(1, y);
        const std::int64_t rowsZ = blocks.extent(2, z);
        const std::int64_t firstY = y * blocks.factor[1];
        const std::int64_t firstZ = z * blocks.factor[2];
        unsigned char* const out = blocks.targetRow(y, z);
        for (std::int64_t x = reduceOctets(blocks, y, z, reduce); x < blocks.count[0]; ++x) {
            const auto columns = static_cast<std::size_t>(blocks.extent(0, x));
            std::size_t count = 0;
            for (std::int64_t dz = 0; dz < rowsZ; ++dz)
                for (std::int64_t dy = 0; dy < rowsY; ++dy) {
                    const auto first = static_cast<std::size_t>(x * blocks.factor[0]) * sizeof(T);
                    std::memcpy(values.data() + count, blocks.row(firstY + dy, firstZ + dz) + first,
                                columns * sizeof(T));
                    count += columns;
                }
            const T best = mostFrequent(values.data(), count);
            std::memcpy(out + static_cast<std::size_t>(x) * sizeof(T), &best, sizeof best);
        }
    });
}

}  // namespace

void ZtRawData::downSample3D(void* target, ZtTypedPointer source, const int* dims,
                             const int* factors, ZtProgressInterface* progress) {
    downSample3DN(target, source, dims, factors, 1, progress);
}

void ZtRawData::downSample3DN(void* target, ZtTypedPointer source, const int* dims,
                              const int* factors, int nComponents, ZtProgressInterface* progress) {
    int sampled;
    if (!findElements(source.primType(), sampled))
        return;
    const Blocks blocks(target, source, dims, factors, nComponents);
    std::int64_t voxels = 1;
    for (int i = 0; i < 3; ++i)
        voxels =
            std::min(voxels, rawdata::kFewVoxels + 1) * std::min(blocks.factor[i], blocks.size[i]);
    const SampleKernels::OfType& kernels = sampling().types[sampled];
    const SampleKernels::Mean& mean =
        voxels <= rawdata::kFewVoxels ? kernels.mean : kernels.meanOfMany;
    combineBlocks(blocks, mean.add, mean.divide, mean.sumSize,
                  octets() ? octets()->findMeans[sampled] : nullptr, progress);
}

void ZtRawData::downSampleMaxFilterComponents3DN(void* target, ZtTypedPointer source,
                                                 const int* dims, const int* factors,
                                                 int nComponents, ZtProgressInterface* progress) {
    int sampled;
    if (!findElements(source.primType(), sampled))
        return;
    const Blocks blocks(target, source, dims, factors, nComponents);
    const SampleKernels::OfType& kernels = sampling().types[sampled];
    combineBlocks(blocks, kernels.chooseLarger, kernels.findLargest, blocks.elementSize, nullptr,
                  progress);
}

void ZtRawData::downSampleLabels3D(void* target, ZtTypedPointer source, const int* dims,
                                   const int* factors, ZtProgressInterface* progress) {
    int sampled;
    if (!findSampled(source.primType(), sampled) || sampled >= rawdata::kSampledIntegers) {
        rawdata::reportUnsupported(source.primType(), "::downSample3D");
        return;
    }
    const Blocks blocks(target, source, dims, factors, 1);
    switch (source.primType()) {
        case ZtPrimType::SBYTE:
            return sampleLabels<std::int8_t>(blocks, sampled, progress);
        case ZtPrimType::BYTE:
            return sampleLabels<std::uint8_t>(blocks, sampled, progress);
        case ZtPrimType::SHORT:
            return sampleLabels<std::int16_t>(blocks, sampled, progress);
        case ZtPrimType::USHORT:
            return sampleLabels<std::uint16_t>(blocks, sampled, progress);
        case ZtPrimType::INT:
            return sampleLabels<std::int32_t>(blocks, sampled, progress);
        default:
            return sampleLabels<std::uint32_t>(blocks, sampled, progress);
    }
}
