// Kernels that unite the runs of foreground that touch. Included by the portable and the wide
// unit, which define Ops; everything here has internal linkage.
#pragma once

#include "imageproc/ComponentsFieldLinks.inl"
#include "imageproc/ComponentsForest.inl"

namespace components {
namespace {

// Bit x of shiftedUp is bit x - 1 of the line, that of shiftedDown bit x + 1. A line is anything
// that gives the word w of a row.
template <class Line>
inline Word shiftedUp(const Line& line, int w) {
    return line(w) << 1 | (w > 0 ? line(w - 1) >> 63 : 0);
}

template <class Line>
inline Word shiftedDown(const Line& line, int w, int words) {
    return line(w) >> 1 | (w + 1 < words ? line(w + 1) << 63 : 0);
}

struct Line {
    const Word* row;
    Word operator()(int w) const { return row[w]; }
};

/// Foreground in either of two rows.
struct EitherLine {
    const Word* first;
    const Word* second;
    Word operator()(int w) const { return first[w] | second[w]; }
};

/// Foreground of a row where two others have none.
struct ExceptLine {
    const Word* row;
    const Word* first;
    const Word* second;
    Word operator()(int w) const { return row[w] & ~(first[w] | second[w]); }
};

/// Where foreground of a line a has a neighbour in a line b: both runs of the column x are
/// concerned (same), or bit x of a has its neighbour in column x - 1 (left) or x + 1 (right) of b.
struct Touch {
    Word same, left, right;
    Touch operator|(const Touch& other) const {
        return {same | other.same, left | other.left, right | other.right};
    }
};

template <class A, class B>
inline Touch straightTouch(const A& a, const B& b, int w) {
    return {a(w) & b(w), 0, 0};
}

template <class A, class B>
inline Touch diagonalTouch(const A& a, const B& b, int w, int words) {
    const Word aw = a(w), aUp = shiftedUp(a, w), aDown = shiftedDown(a, w, words);
    const Word bw = b(w), bUp = shiftedUp(b, w), bDown = shiftedDown(b, w, words);
    return {(aw & (bw | bUp | bDown)) | (bw & (aUp | aDown)), aw & bUp, aw & bDown};
}

/// Goes through the groups in order and unites the runs of each with those of the groups before it.
class Linker {
public:
    Linker(const Volume& volume, const Linking& linking)
        : volume_(volume),
          recent_(volume, linking),
          limit_(linking.limit),
          words_(volume.grid.words),
          groupsY_(RecentRuns::groupsPerSlice(volume)),
          rowsZ_(volume.grouping == Grouping::kBlocks ? 2 : 1),
          next_(linking.next),
          nextBytes_(linking.nextBytes) {}

    LinkResult run(Slab slab) {
        const std::ptrdiff_t numGroups =
            static_cast<std::ptrdiff_t>((slab.end - slab.begin + rowsZ_ - 1) / rowsZ_) * groupsY_;
        const std::ptrdiff_t bytesPerGroup = nextBytes_ / numGroups + 1;
        for (int z = slab.begin; z < slab.end; z += rowsZ_) {
            if (volume_.grouping == Grouping::kBlocks && mayExceedLimit(z))
                return LinkResult::kUncertain;
            for (int y = 0; y < groupsY_; ++y) {
                fetchNext(bytesPerGroup);
                const LinkResult result = linkGroup(y, z);
                if (result != LinkResult::kDone)
                    return result;
            }
        }
        return LinkResult::kDone;
    }

    void leaveTo(Linking& linking) const { recent_.leaveTo(linking); }

private:
    Run numRoots() const { return recent_.forest().numRoots(); }

    /// Asks for so many bytes more of the next slab, so that they arrive while runs are linked.
    void fetchNext(std::ptrdiff_t bytes) {
        if (bytes > nextBytes_)
            bytes = nextBytes_;
        for (std::ptrdiff_t i = 0; i < bytes; i += 64)
            __builtin_prefetch(next_ + i, 0, 2);
        next_ += bytes;
        nextBytes_ -= bytes;
    }

    /// Adds and links group `group` of slice (or pair of slices) z.
    LinkResult linkGroup(int group, int z) {
        switch (volume_.grouping) {
            case Grouping::kRows:
                if (recent_.addRow(row(group, z)))
                    linkRow(group, z);
                return numRoots() > limit_ ? LinkResult::kTooMany : LinkResult::kDone;
            case Grouping::kPairs:
                // Between the two rows of the pair at most this many components are more.
                if (numRoots() + static_cast<Run>(volume_.grid.nx / 2 + 1) > limit_)
                    return LinkResult::kUncertain;
                if (recent_.addGroup(EitherLine{row(2 * group, z), row(2 * group + 1, z)}))
                    linkPair(group, z);
                break;
            case Grouping::kBlocks:
                if (addBlock(group, z))
                    linkBlock(group, z);
                break;
        }
        return LinkResult::kDone;
    }

    /// The row (y, z), without foreground outside the grid.
    const Word* row(int y, int z) const {
        const Grid& grid = volume_.grid;
        if (y < 0 || y >= grid.ny || z < 0 || z >= grid.nz)
            return volume_.zeros;
        return volume_.bits + (static_cast<std::ptrdiff_t>(z) * grid.ny + y) * words_;
    }

    bool addBlock(int group, int z) {
        const EitherLine lower{row(2 * group, z), row(2 * group + 1, z)};
        const EitherLine upper{row(2 * group, z + 1), row(2 * group + 1, z + 1)};
        return recent_.addGroup([&](int w) { return lower(w) | upper(w); });
    }

    /// Links the runs of g at the bits of `links` with those of h that started last, those at the
    /// bits of `right` with those that start next. `kFresh` tells that those of g have no links
    /// yet.
    template <bool kFresh>
    void linkWord(Word links, Word right, const GroupRuns& g, const GroupRuns& h, int w,
                  FirstInRun& first) {
        if constexpr (kFresh) {
            const Word firsts = first.of(links, g.any[w], g.starts[w]);
            recent_.adopt(firsts, g, h, w);
            links &= ~firsts;
        }
        recent_.unite(links, g, h, w);
        recent_.unite(right, g, h, w, 1);
    }

    /// Links single rows: one link where a stretch that both have begins, and one where they touch
    /// diagonally only. Stretches with a column of `implied` are linked already.
    template <bool kDiagonal, bool kFresh, class Implied>
    void linkRows(const GroupRuns& g, const GroupRuns& h, const Implied& implied) {
        const Line a{g.any}, b{h.any};
        FirstInRun first;
        Word carry = 0;
        for (int w = 0; w < words_; ++w) {
            const Word both = a(w) & b(w);
            Word links = both & ~(both << 1 | carry);
            links &= ~spreadToStart(both & implied(w), both & both >> 1);
            carry = both >> 63;
            Word right = 0;
            if constexpr (kDiagonal) {
                const Word only = a(w) & ~b(w);
                links |= only & shiftedUp(b, w) & ~shiftedUp(a, w);
                right = only & shiftedDown(b, w, words_) & ~shiftedDown(a, w, words_);
            }
            linkWord<kFresh>(links, right, g, h, w, first);
        }
    }

    template <bool kFresh = false, class Implied>
    void linkRows(Reach reach, const GroupRuns& g, const GroupRuns& h, const Implied& implied) {
        if (reach == Reach::kDiagonal)
            linkRows<true, kFresh>(g, h, implied);
        else if (reach == Reach::kStraight)
            linkRows<false, kFresh>(g, h, implied);
    }

    void linkRow(int y, int z) {
        const auto none = [](int) { return Word{0}; };
        const Neighbourhood& reach = volume_.reach;
        const GroupRuns& g = recent_.runs(0);
        if (y > 0)
            linkRows<true>(reach.y, g, recent_.runs(1), none);
        if (z == 0 || reach.z == Reach::kNone)
            return;
        // Where the rows before both have foreground too, these four are linked through them.
        const Line above{row(y - 1, z)}, aboveBefore{row(y - 1, z - 1)};
        linkRows(reach.z, g, recent_.runs(groupsY_),
                 [&](int w) { return above(w) & aboveBefore(w); });
        if (y > 0)
            linkRows(reach.edge, g, recent_.runs(groupsY_ + 1), none);
        if (y + 1 < groupsY_)
            linkRows(reach.edge, g, recent_.runs(groupsY_ - 1), none);
    }

    /// Links groups by `contact`, which gives the Touch of a word. A stretch of columns that both
    /// groups have needs one link, in the first column with a contact; adding the stretch's first
    /// bit to its columns without contact carries a bit there. Contacts beside the stretches are
    /// between the end of one run and the start of another: those links are the only ones of their
    /// runs.
    template <bool kFresh = false, class Contact>
    void linkGroups(const GroupRuns& g, const GroupRuns& h, const Contact& contact) {
        const Line gAny{g.any}, hAny{h.any};
        FirstInRun firstLinks;
        Word previous = 0;
        Word open = 0;  // 1 when the stretch that reaches the next word has no contact yet
        for (int w = 0; w < words_; ++w) {
            if (!gAny(w)) {
                previous = open = 0;
                firstLinks = {};
                continue;
            }
            const Word both = gAny(w) & hAny(w);
            const Word first = (both & ~(both << 1 | previous)) | (both & open);
            const Word beside = gAny(w) & ~hAny(w);
            const Word besideLeft = beside & g.starts[w] & shiftedUp(hAny, w);
            const Word besideRight =
                beside & ~shiftedDown(gAny, w, words_) & shiftedDown(hAny, w, words_);
            previous = both >> 63;
            if (!(first | besideLeft | besideRight)) {  // at most a stretch that is linked goes on
                open = 0;
                if constexpr (kFresh)
                    firstLinks.of(0, gAny(w), g.starts[w]);
                continue;
            }
            const Touch touch = contact(w);
            const Word same = touch.same & both;
            const Word bare = both & ~same;
            const Word sum = bare + first;
            open = sum < bare;
            const Word links = (sum & same) | (touch.left & besideLeft);
            const Word right = touch.right & besideRight;
            linkWord<kFresh>(links, right, g, h, w, firstLinks);
        }
    }

    void linkPair(int group, int z) {
        const Neighbourhood& reach = volume_.reach;
        const int y = 2 * group;
        const int words = words_;
        const GroupRuns& g = recent_.runs(0);
        const Line first{row(y, z)}, second{row(y + 1, z)}, above{row(y - 1, z)};
        if (group > 0) {
            linkGroups<true>(g, recent_.runs(1),
                             [&](int w) { return diagonalTouch(first, above, w, words); });
        }
        if (z == 0 || reach.z == Reach::kNone)
            return;
        const Line before{row(y, z - 1)}, secondBefore{row(y + 1, z - 1)};
        if (reach.z == Reach::kStraight) {
            linkGroups(g, recent_.runs(groupsY_), [&](int w) {
                return straightTouch(first, before, w) | straightTouch(second, secondBefore, w);
            });
            return;
        }
        linkGroups(g, recent_.runs(groupsY_), [&](int w) {
            return diagonalTouch(first, before, w, words) |
                   diagonalTouch(second, secondBefore, w, words) |
                   straightTouch(first, secondBefore, w) | straightTouch(second, before, w);
        });
        // Foreground that both of two facing voxels touch links them already.
        if (group > 0) {
            const ExceptLine facing{first.row, above.row, before.row};
            const Line aboveBefore{row(y - 1, z - 1)};
            linkGroups(g, recent_.runs(groupsY_ + 1),
                       [&](int w) { return straightTouch(facing, aboveBefore, w); });
        }
        if (group + 1 < groupsY_) {
            const ExceptLine facing{second.row, secondBefore.row, volume_.zeros};
            const Line belowBefore{row(y + 2, z - 1)};
            linkGroups(g, recent_.runs(groupsY_ - 1),
                       [&](int w) { return straightTouch(facing, belowBefore, w); });
        }
    }

    void linkBlock(int group, int z) {
        const int y = 2 * group;
        const int words = words_;
        const GroupRuns& g = recent_.runs(0);
        const auto linkFacing = [&](int slotsBack, const auto& a, const auto& b) {
            linkGroups(g, recent_.runs(slotsBack),
                       [&](int w) { return diagonalTouch(a, b, w, words); });
        };
        if (group > 0) {
            linkFacing(1, EitherLine{row(y, z), row(y, z + 1)},
                       EitherLine{row(y - 1, z), row(y - 1, z + 1)});
        }
        if (z == 0)
            return;
        const Word* const first = row(y, z);
        const Word* const second = row(y + 1, z);
        const Word* const before = row(y, z - 1);
        const Word* const secondBefore = row(y + 1, z - 1);
        linkFacing(groupsY_, EitherLine{first, second}, EitherLine{before, secondBefore});
        // Foreground in the column of one of two facing voxels, in a row that both touch, links
        // them.
        if (group > 0) {
            const Word* const above = row(y - 1, z);
            linkEdges(g, recent_.runs(groupsY_ + 1), first, row(y - 1, z - 1), above, before);
        }
        if (group + 1 < groupsY_) {
            const Word* const below = row(y + 2, z);
            linkEdges(g, recent_.runs(groupsY_ - 1), second, row(y + 2, z - 1), below,
                      secondBefore);
        }
    }

    /// Links the groups of two rows across an edge, without the columns where one of the rows that
    /// both touch has foreground. Mostly nothing is left that touches, which is quickly told for
    /// many words at once.
    void linkEdges(const GroupRuns& g, const GroupRuns& h, const Word* rowOfG, const Word* rowOfH,
                   const Word* between, const Word* alsoBetween) {
        Word* const a = recent_.lines();
        Word* const b = a + words_ + 2;
        Word anyA = 0, anyB = 0;
        for (int w = 0; w < words_; ++w) {
            const Word bare = ~(between[w] | alsoBetween[w]);
            anyA |= a[w] = rowOfG[w] & bare;
            anyB |= b[w] = rowOfH[w] & bare;
        }
        if (!anyA || !anyB)
            return;
        Word touching = 0;
        for (int w = 0; w < words_; ++w)
            touching |= (a[w] | a[w] << 1 | a[w - 1] >> 63 | a[w] >> 1 | a[w + 1] << 63) & b[w];
        if (touching)
            linkGroups(g, h, [&](int w) { return diagonalTouch(Line{a}, Line{b}, w, words_); });
    }

    /// Whether more components than the limit may coexist after some row of slices z and z + 1.
    /// After the slices before it they are counted; from there on each new one begins with a
    /// stretch whose first voxel touches no row before.
    bool mayExceedLimit(int z) const {
        const Grid& grid = volume_.grid;
        const std::uint64_t perRow = static_cast<std::uint64_t>(grid.nx) / 2 + 1;
        std::uint64_t count = numRoots();
        if (count + 2 * perRow * static_cast<std::uint64_t>(grid.ny) <= limit_)
            return false;
        for (int s = z; s < z + 2; ++s)
            for (int y = 0; y < grid.ny; ++y)
                count += newStretches(y, s);
        return count > limit_;
    }

    Run newStretches(int y, int z) const {
        const Line line{row(y, z)};
        const EitherLine slice{row(y - 1, z), row(y, z - 1)};
        const EitherLine edges{row(y - 1, z - 1), row(y + 1, z - 1)};
        const auto visited = [&](int w) { return slice(w) | edges(w); };
        Run count = 0;
        for (int w = 0; w < words_; ++w) {
            const Word starts = line(w) & ~shiftedUp(line, w);
            if (starts)
                count += static_cast<Run>(Ops::count(starts & ~(visited(w) | shiftedUp(visited, w) |
                                                                shiftedDown(visited, w, words_))));
        }
        return count;
    }

    const Volume& volume_;
    RecentRuns recent_;
    Run limit_;
    int words_;
    int groupsY_;
    int rowsZ_;
    const unsigned char* next_;
    std::ptrdiff_t nextBytes_;
};

std::size_t linkBytes(const Volume& volume) {
    return RecentRuns::bytes(volume);
}

template <class AnyLinker>
LinkResult runLinker(const Volume& volume, Slab slab, Linking& linking) {
    AnyLinker linker(volume, linking);
    const LinkResult result = linker.run(slab);
    linker.leaveTo(linking);
    return result;
}

LinkResult link(const Volume& volume, Slab slab, Linking& linking) {
    return volume.field ? runLinker<FieldLinker>(volume, slab, linking)
                        : runLinker<Linker>(volume, slab, linking);
}

}  // namespace
}  // namespace components
