// Labelling run by run: allocates the work space and takes the kernels through their steps.
#include "imageproc/ComponentsRuns.h"

#include <ztlib/ZtMemory.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
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

int bytesOf(Element element) {
    switch (element) {
        case Element::kByte:
            return 1;
        case Element::kShort:
        case Element::kUshort:
            return 2;
        case Element::kInt:
        case Element::kFloat:
            return 4;
        case Element::kDouble:
            break;
    }
    return 8;
}

/// Finds the bits of a grid and labels them.
class Labelling {
public:
    Labelling(const Request& request, const Kernels& kernels, const Neighbourhood& reach)
        : request_(request), kernels_(kernels) {
        volume_.grid = {request.nx, request.ny, request.nz, (request.nx - 1) / 64 + 1};
        volume_.reach = reach;
    }

    /// Goes through the volume slab by slab, so that the elements of one come from memory while the
    /// runs of the one before are linked, and its bits are found in the cache.
    LinkResult link(Grouping grouping) {
        if (volume_.bits == nullptr)
            allocateBits();
        volume_.grouping = grouping;
        WorkArray<unsigned char> scratch(kernels_.linkBytes(volume_));
        Linking linking{request_.limit, scratch.data()};
        std::uint64_t numRuns = 0;
        LinkResult result = LinkResult::kDone;
        for (Slab slab = slabAt(0); slab.begin < slab.end && result == LinkResult::kDone;
             slab = slabAt(slab.end)) {
            if (slab.end > found_)
                findBits(slab);
            numRuns += kernels_.countRuns(volume_, slab);
            makeRoomForRuns(numRuns, slab.end);
            announce(slab.end, linking);
            result = kernels_.link(volume_, slab, linking);
        }
        if (result == LinkResult::kUncertain)
            while (found_ < volume_.grid.nz)
                findBits(slabAt(found_));
        std::memset(volume_.parents + linking.numRuns, 0, kPadding * sizeof(Run));
        volume_.numRuns = linking.numRuns;
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
    /// About what the cache nearest to memory that one core has to itself holds twice.
    static constexpr std::ptrdiff_t kSlabBytes = 512 * 1024;

    Slab slabAt(int z) const {
        return {z, volume_.grid.nz - z < slices_ ? volume_.grid.nz : z + slices_};
    }

    void allocateBits() {
        const Grid& grid = volume_.grid;
        const std::uint64_t rowWords = static_cast<std::uint64_t>(grid.words);
        const std::uint64_t words =
            rowWords * static_cast<std::uint64_t>(grid.ny) * static_cast<std::uint64_t>(grid.nz);
        const bool marked = !request_.labelMode && !(request_.upper <= request_.lower);
        bits_.allocate(words * (marked ? 2 : 1) + rowWords);
        volume_.zeros = bits_.data();
        std::memset(bits_.data(), 0, static_cast<std::size_t>(rowWords) * sizeof(Word));
        volume_.bits = bits_.data() + rowWords;
        volume_.marks = marked ? volume_.bits + words : nullptr;
        volume_.field =
            request_.labelMode ? static_cast<const unsigned char*>(request_.data) : nullptr;
        // The bits of a label field cost more than its bytes' way from memory: there is nothing to
        // be gained by finding them in between.
        const std::ptrdiff_t pairs = request_.labelMode ? grid.nz : kSlabBytes / (2 * sliceBytes());
        slices_ = 2 * static_cast<int>(std::clamp<std::ptrdiff_t>(pairs, 1, grid.nz / 2 + 1));
    }

    std::ptrdiff_t sliceBytes() const {
        const int elementBytes = request_.labelMode ? 1 : bytesOf(request_.element);
        return static_cast<std::ptrdiff_t>(volume_.grid.nx) * volume_.grid.ny * elementBytes;
    }

    void findBits(Slab slab) {
        Word* const bits = bits_.data() + (volume_.bits - bits_.data());
        Word* const marks = volume_.marks ? bits_.data() + (volume_.marks - bits_.data()) : nullptr;
        if (request_.labelMode)
            kernels_.findStarts(volume_.field, volume_.grid, slab, bits);
        else
            kernels_.threshold(request_, volume_.grid, slab, bits, marks);
        found_ = slab.end;
    }

    /// Makes room for the runs of the slices before `z`, and, as far as these tell, of those
    /// behind.
    void makeRoomForRuns(std::uint64_t numRuns, int z) {
        if (numRuns > INT32_MAX)
            ztThrowMemoryException(SIZE_MAX);
        if (numRuns <= room_ && volume_.parents)
            return;
        const double all = static_cast<double>(numRuns) * volume_.grid.nz / z;
        room_ = std::max({numRuns, room_ + room_ / 2,
                          static_cast<std::uint64_t>(std::min(1.05 * all, 1.0 * INT32_MAX))});
        if (volume_.parents)
            parents_.grow(room_ + 2 * kPadding);
        else
            parents_.allocate(room_ + 2 * kPadding);
        std::memset(parents_.data(), 0, kPadding * sizeof(Run));
        volume_.parents = parents_.data() + kPadding;
    }

    /// Tells the linking which elements come next.
    void announce(int z, Linking& linking) const {
        const std::ptrdiff_t bytes = z < found_ ? 0 : sliceBytes();
        linking.next = static_cast<const unsigned char*>(request_.data) + z * sliceBytes();
        linking.nextBytes = bytes * (slabAt(z).end - z);
    }

    const Request& request_;
    const Kernels& kernels_;
    Volume volume_ = {};
    std::uint32_t numComponents_ = 0;
    int slices_ = 0;          // of a slab
    int found_ = 0;           // the slices whose bits are known
    std::uint64_t room_ = 0;  // for runs
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
    LinkResult result = labelling.link(bestGrouping(request, reach));
    if (result == LinkResult::kUncertain)
        result = labelling.link(Grouping::kRows);
    if (result == LinkResult::kTooMany)
        return labelPlain(request, list);
    labelling.write(list);
    return static_cast<int>(labelling.numComponents());
}

}  // namespace components
