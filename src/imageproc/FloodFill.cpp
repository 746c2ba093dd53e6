// Seeded filling of a bit mask, run by run.
#include <ztlib/ZtBitfield.h>
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtMorphology.h>
#include <ztlib/ZtVec3i.h>

#include <bit>
#include <cstdint>

#include "imageproc/MaskSource.h"

namespace {

/// A voxel from which a run of the mask is to be filled.
struct Seed {
    int x, y, z;
};

/// Fills whole runs, the longest stretches of set voxels of a row, so that none is filled twice.
class Filling {
public:
    Filling(const unsigned* mask, ZtBitfield& filled, const ZtVec3i& dims)
        : mask_(mask), filled_(filled), dims_(dims) {}

    void fillFrom(const ZtVec3i& seed) {
        if (seed.x < 0 || seed.x >= dims_.x || !isRow(seed.y, seed.z))
            return;
        waiting_.push({seed.x, seed.y, seed.z});
        while (waiting_.size() > 0) {
            const Seed next = waiting_.last();
            waiting_.removeLast();
            fillRun(next);
        }
    }

private:
    bool isRow(int y, int z) const { return y >= 0 && y < dims_.y && z >= 0 && z < dims_.z; }

    /// The bit of the first voxel of a row.
    unsigned rowAt(int y, int z) const {
        const auto n = [](int k) { return static_cast<unsigned>(k); };
        return n(dims_.x) * (n(y) + n(dims_.y) * n(z));
    }

    void fillRun(const Seed& seed) {
        const unsigned row = rowAt(seed.y, seed.z);
        const unsigned last = row + static_cast<unsigned>(dims_.x) - 1;
        const unsigned at = row + static_cast<unsigned>(seed.x);
        if (!isSet(at) || filled_[at])
            return;
        const unsigned from = firstOfRun(at, row), to = lastOfRun(at, last);
        filled_.setRange(from, to);
        for (const Seed& beside : {Seed{0, seed.y - 1, seed.z}, Seed{0, seed.y + 1, seed.z},
                                   Seed{0, seed.y, seed.z - 1}, Seed{0, seed.y, seed.z + 1}})
            if (isRow(beside.y, beside.z))
                findSeeds(beside.y, beside.z, from - row, to - row);
    }

    /// Finds the runs of a row that have voxels in the columns [first, last] and are not filled.
    void findSeeds(int y, int z, unsigned first, unsigned last) {
        const unsigned row = rowAt(y, z);
        unsigned before = 0;  // the last voxel of the word before
        for (unsigned bit = row + first, end = row + last; bit <= end;) {
            const unsigned word = bit / 32;
            unsigned open = mask_[word] & ~filled_.words()[word] & ~0u << bit % 32;
            if (word == end / 32)
                open &= ~0u >> (31 - end % 32);
            for (unsigned starts = open & ~(open << 1 | before); starts; starts &= starts - 1) {
                const unsigned start = 32 * word + static_cast<unsigned>(std::countr_zero(starts));
                waiting_.push({static_cast<int>(start - row), y, z});
            }
            before = open >> 31;
            if (word == end / 32)
                break;
            bit = 32 * (word + 1);
        }
    }

    bool isSet(unsigned bit) const { return (mask_[bit / 32] >> bit % 32 & 1u) != 0; }

    // The ends of the run around a bit, within [row, last].
    unsigned firstOfRun(unsigned bit, unsigned row) const {
        unsigned word = bit / 32;
        unsigned clear = ~mask_[word] & ~(~0u << bit % 32);
        while (clear == 0 && word > row / 32)
            clear = ~mask_[--word];
        if (clear == 0)
            return row;
        const unsigned first = 32 * word + 32 - static_cast<unsigned>(std::countl_zero(clear));
        return first < row ? row : first;
    }
    unsigned lastOfRun(unsigned bit, unsigned last) const {
        unsigned word = bit / 32;
        unsigned clear = ~mask_[word] & ~0u << bit % 32;
        while (clear == 0 && word < last / 32)
            clear = ~mask_[++word];
        if (clear == 0)
            return last;
        const unsigned end = 32 * word + static_cast<unsigned>(std::countr_zero(clear)) - 1;
        return end > last ? last : end;
    }

    const unsigned* mask_;
    ZtBitfield& filled_;
    const ZtVec3i& dims_;
    ZtDArray<Seed, 1> waiting_;
};

}  // namespace

unsigned ZtMorphology::floodfill(const ZtBitfield& in, ZtBitfield& out, const ZtVec3i& dims,
                                 const ZtDArray<ZtVec3i, 1>& seeds) {
    const std::uint64_t size = maskstep::numVoxels(dims);
    if (size > UINT32_MAX)
        return 0;
    if (size == 0) {
        out.resize(0);
        return 0;
    }
    const auto numBits = static_cast<unsigned>(size);
    const maskstep::MaskSource source(in, out, numBits);
    ZtBitfield filled(numBits);
    Filling filling(source.words(), filled, dims);
    for (int i = 0; i < seeds.size(); ++i)
        filling.fillFrom(seeds[i]);
    const unsigned count = filled.nSetBits();
    out = static_cast<ZtBitfield&&>(filled);
    return count;
}
