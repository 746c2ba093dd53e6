// Labelling run by run: allocates the work space and takes the kernels through their steps.
#include "imageproc/ComponentsRuns.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/WorkArray.h"
#include "imageproc/ComponentsPlain.h"

namespace components {
namespace {

Grouping bestGrouping(const Request& request, const Neighbourhood& reach) {
    if (request.labelMode || reach.y == Reach::kStraight)
        return Grouping::kRows;
    return reach.edge == Reach::kDiagonal ? Grouping::kBlocks : Grouping::kPairs;
}

/// The root of the component that has most of the runs of a sample, when leaving its runs out saves
/// more than the total costs: that of a label field is known, that of an image must be counted.
Run findDominant(const Volume& volume) {
    constexpr Run kMostSamples = 512;
    Run samples[kMostSamples];
    Run count = 0;
    for (Run i = 0; i < volume.numRuns; i += volume.numRuns / kMostSamples + 1) {
        Run root = i;
        while (volume.parents[root] != root)
            root = volume.parents[root];
        samples[count++] = root;
    }
    std::sort(samples, samples + count);
    Run dominant = kNoRun;
    Run most = volume.field ? count / 16 : count / 16 * 9;
    for (Run first = 0, i = 0; i < count; ++i) {
        if (samples[i] != samples[first])
            first = i;
        if (i + 1 - first > most) {
            most = i + 1 - first;
            dominant = samples[i];
        }
    }
    return dominant;
}

/// The size of a table for the components that may have a sum of 2^24 or more: along each axis no
/// more of them than that fits into the sum of all voxels.
Run largeSumsFor(const Grid& grid, std::uint32_t numComponents) {
    const double numVoxels = static_cast<double>(grid.nx) * grid.ny * grid.nz;
    double most = 0;
    for (const int n : {grid.nx, grid.ny, grid.nz})
        most += std::floor(numVoxels * (n - 1.0) / 2 / (1 << 24));
    Run size = 2;
    while (size < 2 * std::min<double>(most, numComponents))
        size *= 2;
    return size;
}

/// Finds the bits of a grid and labels them.
class Labelling {
public:
    Labelling(const Request& request, const Kernels& kernels, const Neighbourhood& reach)
        : request_(request), kernels_(kernels) {
        volume_.grid = {request.nx, request.ny, request.nz, (request.nx - 1) / 64 + 1};
        volume_.reach = reach;
    }

    void findBits() {
        const Grid& grid = volume_.grid;
        const std::uint64_t rowWords = static_cast<std::uint64_t>(grid.words);
        const std::uint64_t words =
            rowWords * static_cast<std::uint64_t>(grid.ny) * static_cast<std::uint64_t>(grid.nz);
        const bool marked = !request_.labelMode && !(request_.upper <= request_.lower);
        bits_.allocate(words * (marked ? 2 : 1) + rowWords);
        Word* const zeros = bits_.data();
        Word* const bits = zeros + rowWords;
        Word* const marks = marked ? bits + words : nullptr;
        std::memset(zeros, 0, static_cast<std::size_t>(rowWords) * sizeof(Word));
        if (request_.labelMode) {
            volume_.field = static_cast<const unsigned char*>(request_.data);
            kernels_.findStarts(volume_.field, grid, bits);
        } else {
            volume_.field = nullptr;
            kernels_.threshold(request_, grid, bits, marks);
        }
        volume_.zeros = zeros;
        volume_.bits = bits;
        volume_.marks = marks;
    }

    LinkResult link(Grouping grouping) {
        volume_.grouping = grouping;
        const std::uint64_t numRuns = kernels_.countRuns(volume_);
        if (numRuns > INT32_MAX)
            ztThrowMemoryException(SIZE_MAX);
        parents_.allocate(numRuns + 2 * kPadding);
        std::memset(parents_.data(), 0, kPadding * sizeof(Run));
        volume_.parents = parents_.data() + kPadding;
        std::memset(volume_.parents + numRuns, 0, kPadding * sizeof(Run));
        volume_.numRuns = static_cast<Run>(numRuns);
        WorkArray<unsigned char> scratch(kernels_.linkBytes(volume_));
        Linking linking{request_.limit, scratch.data(), 0};
        const LinkResult result = kernels_.link(volume_, linking);
        numComponents_ = linking.numRoots;
        return result;
    }

    void write(ComponentList& list) {
        WorkArray<unsigned char> scratch(kernels_.writeBytes(volume_));
        const Run numLarge = largeSumsFor(volume_.grid, numComponents_);
        WorkArray<LargeSums> large(numLarge);
        std::memset(large.data(), 0, numLarge * sizeof(LargeSums));
        reserve(list, numComponents_);
        list.resize(static_cast<int>(numComponents_) + 1);
        static_assert(sizeof(Record) == sizeof(ZtConnectedComponents::Component));
        kernels_.write(volume_, {request_.labels, request_.labelBytes,
                                 reinterpret_cast<Record*>(list.dataPtr()), large.data(), numLarge,
                                 findDominant(volume_), scratch.data()});
    }

    std::uint32_t numComponents() const { return numComponents_; }

private:
    const Request& request_;
    const Kernels& kernels_;
    Volume volume_ = {};
    std::uint32_t numComponents_ = 0;
    WorkArray<Word> bits_;
    WorkArray<Run> parents_;
};

}  // namespace

bool findNeighbourhood(int connectivity, Neighbourhood& reach) {
    constexpr Reach N = Reach::kNone, S = Reach::kStraight, D = Reach::kDiagonal;
    switch (connectivity) {
        case 4:
            reach = {S, N, N};
            return true;
        case 8:
            reach = {D, N, N};
            return true;
        case 6:
            reach = {S, S, N};
            return true;
        case 10:
            reach = {D, S, N};
            return true;
        case 18:
            reach = {D, D, S};
            return true;
        case 26:
            reach = {D, D, D};
            return true;
        default:
            return false;
    }
}

int labelRuns(const Request& request, const Kernels& kernels, ComponentList& list) {
    Neighbourhood reach = {};
    findNeighbourhood(request.connectivity, reach);
    Labelling labelling(request, kernels, reach);
    labelling.findBits();
    LinkResult result = labelling.link(bestGrouping(request, reach));
    if (result == LinkResult::kUncertain)
        result = labelling.link(Grouping::kRows);
    if (result == LinkResult::kTooMany)
        return labelPlain(request, list);
    labelling.write(list);
    return static_cast<int>(labelling.numComponents());
}

}  // namespace components
