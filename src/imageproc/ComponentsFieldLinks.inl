// Kernels that unite the runs of a label field that touch. Included by the portable and the wide
// unit, which define Ops; everything here has internal linkage.
#pragma once

#include "imageproc/ComponentsBits.inl"
#include "imageproc/ComponentsForest.inl"

namespace components {
namespace {

/// Goes through the rows of a label field and unites the runs of each with those of the rows
/// before.
class FieldLinker {
public:
    FieldLinker(const Volume& volume, const Linking& linking)
        : volume_(volume), recent_(volume, linking), limit_(linking.limit) {}

    LinkResult run(Slab slab) {
        const Grid& grid = volume_.grid;
        const std::ptrdiff_t first = rowsBefore(grid, slab.begin);
        const Word* starts = volume_.bits + first * grid.words;
        const unsigned char* field = volume_.field + first * grid.nx;
        for (int z = slab.begin; z < slab.end; ++z) {
            for (int y = 0; y < grid.ny; ++y, starts += grid.words, field += grid.nx) {
                recent_.addFieldRow(starts);
                linkRow(field, y, z);
                if (recent_.forest().numRoots() > limit_)
                    return LinkResult::kTooMany;
            }
        }
        return LinkResult::kDone;
    }

    void leaveTo(Linking& linking) const { recent_.leaveTo(linking); }

private:
    /// A row before the one that is linked.
    struct Before {
        const unsigned char* field;
        const GroupRuns& runs;
        bool isThere;

        /// Where the voxels of a row have the same values in this one.
        Word equal(const unsigned char* row, int x, int count) const {
            const Word columns = ~Word{0} >> (64 - count);
            return isThere ? columns & ~Ops::unequal(row + x, field + x, count, x) : 0;
        }
    };

    void linkRow(const unsigned char* row, int y, int z) {
        const Grid& grid = volume_.grid;
        const Neighbourhood& reach = volume_.reach;
        const GroupRuns& g = recent_.runs(0);
        const std::ptrdiff_t nx = grid.nx, slice = nx * grid.ny;
        const bool hasZ = z > 0 && reach.z != Reach::kNone;
        const auto rowBefore = [&](bool isThere, std::ptrdiff_t offset, int groupsBack) {
            return isThere ? Before{row - offset, recent_.runs(groupsBack), true}
                           : Before{row, g, false};
        };
        const Before above = rowBefore(y > 0, nx, 1);
        const Before before = rowBefore(hasZ, slice, grid.ny);
        const Before aboveBefore = rowBefore(hasZ && y > 0, slice + nx, grid.ny + 1);
        const Before belowBefore = rowBefore(hasZ && y + 1 < grid.ny, slice - nx, grid.ny - 1);
        if (linkConstant(row, above, before, aboveBefore, belowBefore))
            return;
        for (int w = 0; w < grid.words; ++w) {
            const Word starts = g.starts[w];
            const Word firstsY = starts | above.runs.starts[w];
            const Word firstsZ = starts | before.runs.starts[w];
            const Word firstsA = starts | aboveBefore.runs.starts[w];
            const Word firstsB = starts | belowBefore.runs.starts[w];
            if ((firstsY | firstsZ | firstsA | firstsB) == 0)
                continue;
            const int x = 64 * w;
            const int count = grid.nx - x < 64 ? grid.nx - x : 64;
            const Word equalY = above.equal(row, x, count);
            linkWord<true>(reach.y, above, equalY, 0, row, w);
            const Word equalZ = before.equal(row, x, count);
            if (!(firstsZ & equalZ) && reach.edge == Reach::kNone)
                continue;
            // Three rows of one value are linked already: those two that meet in the third.
            const Word equalA = aboveBefore.equal(row, x, count);
            linkWord<false>(reach.z, before, equalZ, equalY & equalA, row, w);
            if (reach.edge == Reach::kNone)
                continue;
            const Word equalB = belowBefore.equal(row, x, count);
            linkWord<false>(reach.edge, aboveBefore, equalA, equalY | equalZ, row, w);
            linkWord<false>(reach.edge, belowBefore, equalB, equalZ, row, w);
        }
    }

    /// Links the row when it and the rows before it are of one value: those are linked already, so
    /// that one link does.
    bool linkConstant(const unsigned char* row, const Before& above, const Before& before,
                      const Before& aboveBefore, const Before& belowBefore) {
        const GroupRuns& g = recent_.runs(0);
        if (g.numRuns != 1 || !above.isThere)
            return false;
        const auto differs = [row](const Before& other) {
            return other.isThere && (other.runs.numRuns != 1 || other.field[0] != row[0]);
        };
        if (differs(above) || differs(before) || differs(aboveBefore) || differs(belowBefore))
            return false;
        recent_.forest().adopt(g.base[0], above.runs.base[0]);
        return true;
    }

    /// Links the runs of a word of the row and those of another. A stretch of columns in which both
    /// keep their values needs one link, none when it is `implied` in one of its columns. `kFresh`
    /// tells that runs that start in the word have no links yet.
    template <bool kFresh>
    void linkWord(Reach reach, const Before& other, Word equal, Word implied,
                  const unsigned char* row, int w) {
        const GroupRuns& g = recent_.runs(0);
        const GroupRuns& h = other.runs;
        const Word firsts = g.starts[w] | h.starts[w];
        if (!firsts)
            return;
        implied &= equal;
        Word links = firsts & equal & ~spreadToStart(implied, ~(firsts >> 1));
        if constexpr (kFresh) {
            const Word first = firstsInRuns(links, g.starts[w]);
            recent_.adopt(first, g, h, w);
            links &= ~first;
        }
        recent_.unite(links, g, h, w);
        if (reach != Reach::kDiagonal || !other.isThere)
            return;
        // Diagonal neighbours alone can be equal where both rows change, and neither the voxels
        // behind the change nor those before it are equal.
        Word changes = g.starts[w] & h.starts[w] & ~(equal | equal << 1);
        if (w == 0)
            changes &= ~Word{1};
        for (; changes; changes &= changes - 1) {
            const Word upTo = changes ^ (changes - 1);
            const int x = 64 * w + Ops::lowest(changes);
            const Run gRun = g.base[w] - 1 + static_cast<Run>(Ops::count(g.starts[w] & upTo));
            const Run hRun = h.base[w] - 1 + static_cast<Run>(Ops::count(h.starts[w] & upTo));
            if (row[x] == other.field[x - 1])
                recent_.forest().unite(gRun, hRun - 1);
            if (row[x - 1] == other.field[x])
                recent_.forest().unite(gRun - 1, hRun);
        }
    }

    const Volume& volume_;
    RecentRuns recent_;
    Run limit_;
};

}  // namespace
}  // namespace components
