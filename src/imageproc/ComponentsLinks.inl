// Kernels that unite the runs that touch. Included by the portable and the wide unit, which define
// Ops; everything here has internal linkage.

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

/// The runs of a group of rows.
struct GroupRuns {
    /// Where one of the rows has foreground; null in a label field.
    const Word* any;
    /// The first voxels of the runs.
    const Word* starts;
    /// The number of the last run that starts before each word, plus 1.
    const Run* base;
};

/// Union-find over runs. The root of a tree is its first run; a run's parent comes before it.
class Forest {
public:
    explicit Forest(Run* parents) : parents_(parents) {}

    Run numRuns() const { return numRuns_; }
    Run numRoots() const { return numRoots_; }

    void add(Run count) {
        for (Run i = 0; i < count; ++i)
            parents_[numRuns_ + i] = numRuns_ + i;
        numRuns_ += count;
        numRoots_ += count;
    }

    void unite(Run a, Run b) {
        if (parents_[a] == parents_[b])
            return;
        const Run rootA = root(a);
        const Run rootB = root(b);
        const Run first = rootA < rootB ? rootA : rootB;
        const Run second = rootA < rootB ? rootB : rootA;
        parents_[second] = first;
        parents_[a] = first;
        parents_[b] = first;
        numRoots_ -= first != second;
    }

private:
    Run root(Run run) {
        Run parent = parents_[run];
        while (parent != run) {
            const Run grandparent = parents_[parent];
            parents_[run] = grandparent;
            run = parent;
            parent = grandparent;
        }
        return run;
    }

    Run* parents_;
    Run numRuns_ = 0;
    Run numRoots_ = 0;
};

/// Goes through the groups in order and unites the runs of each with those of the groups before it.
class Linker {
public:
    Linker(const Volume& volume, Linking& linking)
        : volume_(volume),
          linking_(linking),
          words_(volume.grid.words),
          groupsY_(groupsPerSlice(volume)),
          rowsZ_(volume.grouping == Grouping::kBlocks ? 2 : 1),
          slots_(numSlots(volume)),
          forest_(volume.parents) {
        const std::ptrdiff_t size = static_cast<std::ptrdiff_t>(slots_) * words_;
        any_ = static_cast<Word*>(linking.scratch);
        starts_ = any_ + size;
        base_ = reinterpret_cast<Run*>(starts_ + size);
    }

    /// How many groups are kept: this one and those before it that it may touch.
    static int numSlots(const Volume& volume) {
        return volume.reach.z == Reach::kNone ? 2 : groupsPerSlice(volume) + 2;
    }

    LinkResult run() {
        for (int z = 0; z < volume_.grid.nz; z += rowsZ_) {
            if (volume_.grouping == Grouping::kBlocks && mayExceedLimit(z))
                return LinkResult::kUncertain;
            for (int y = 0; y < groupsY_; ++y) {
                const LinkResult result = linkGroup(y, z);
                if (result != LinkResult::kDone)
                    return result;
                slot_ = slot_ + 1 == slots_ ? 0 : slot_ + 1;
            }
        }
        linking_.numRoots = forest_.numRoots();
        return LinkResult::kDone;
    }

private:
    static int groupsPerSlice(const Volume& volume) {
        return volume.grouping == Grouping::kRows ? volume.grid.ny : (volume.grid.ny + 1) / 2;
    }

    /// Adds and links group `group` of slice (or pair of slices) z.
    LinkResult linkGroup(int group, int z) {
        switch (volume_.grouping) {
            case Grouping::kRows:
                addGroup({row(group, z)});
                if (volume_.field)
                    linkFieldRow(group, z);
                else
                    linkRow(group, z);
                return forest_.numRoots() > linking_.limit ? LinkResult::kTooMany
                                                           : LinkResult::kDone;
            case Grouping::kPairs:
                // Between the two rows of the pair at most this many components are more.
                if (forest_.numRoots() + static_cast<Run>(volume_.grid.nx / 2 + 1) > linking_.limit)
                    return LinkResult::kUncertain;
                addGroup(EitherLine{row(2 * group, z), row(2 * group + 1, z)});
                linkPair(group, z);
                break;
            case Grouping::kBlocks:
                addBlock(group, z);
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

    std::ptrdiff_t offset(int slotsBack) const {
        const int slot = slot_ - slotsBack;
        return static_cast<std::ptrdiff_t>(slot < 0 ? slot + slots_ : slot) * words_;
    }

    GroupRuns runs(int slotsBack) const {
        const std::ptrdiff_t at = offset(slotsBack);
        return {any_ + at, starts_ + at, base_ + at};
    }

    /// Numbers the runs of the union of the group's rows.
    template <class Rows>
    void addGroup(const Rows& rows) {
        Word* const any = any_ + offset(0);
        Word* const starts = starts_ + offset(0);
        Run* const base = base_ + offset(0);
        Run next = forest_.numRuns();
        Word carry = 0;
        for (int w = 0; w < words_; ++w) {
            any[w] = rows(w);
            starts[w] = volume_.field ? any[w] : any[w] & ~(any[w] << 1 | carry);
            carry = any[w] >> 63;
            base[w] = next;
            next += static_cast<Run>(Ops::count(starts[w]));
        }
        forest_.add(next - forest_.numRuns());
    }

    void addGroup(Line rows) { addGroup<Line>(rows); }

    void addBlock(int group, int z) {
        const EitherLine lower{row(2 * group, z), row(2 * group + 1, z)};
        const EitherLine upper{row(2 * group, z + 1), row(2 * group + 1, z + 1)};
        addGroup([&](int w) { return lower(w) | upper(w); });
    }

    /// Unites, for each bit of `links`, the run of g there with the run of h that started last, or,
    /// with `next` 1, with the one that starts next.
    void unite(Word links, const GroupRuns& g, const GroupRuns& h, int w, Run next = 0) {
        const Word gStarts = g.starts[w], hStarts = h.starts[w];
        const Run gBase = g.base[w] - 1, hBase = h.base[w] - 1 + next;
        while (links) {
            const Word upTo = links ^ (links - 1);
            links &= links - 1;
            forest_.unite(gBase + static_cast<Run>(Ops::count(gStarts & upTo)),
                          hBase + static_cast<Run>(Ops::count(hStarts & upTo)));
        }
    }

    /// Links single rows: one link where a stretch that both have begins, and one where they touch
    /// diagonally only. Stretches that begin in a column of `implied` are linked already.
    template <bool kDiagonal, class Implied>
    void linkRows(const GroupRuns& g, const GroupRuns& h, const Implied& implied) {
        const Line a{g.any}, b{h.any};
        Word carry = 0;
        for (int w = 0; w < words_; ++w) {
            const Word both = a(w) & b(w);
            Word links = both & ~(both << 1 | carry) & ~implied(w);
            carry = both >> 63;
            if constexpr (kDiagonal) {
                const Word only = a(w) & ~b(w);
                links |= only & shiftedUp(b, w) & ~shiftedUp(a, w);
                unite(only & shiftedDown(b, w, words_) & ~shiftedDown(a, w, words_), g, h, w, 1);
            }
            unite(links, g, h, w);
        }
    }

    template <class Implied>
    void linkRows(Reach reach, const GroupRuns& g, const GroupRuns& h, const Implied& implied) {
        if (reach == Reach::kDiagonal)
            linkRows<true>(g, h, implied);
        else if (reach == Reach::kStraight)
            linkRows<false>(g, h, implied);
    }

    void linkRow(int y, int z) {
        const auto none = [](int) { return Word{0}; };
        const Neighbourhood& reach = volume_.reach;
        const GroupRuns g = runs(0);
        if (y > 0)
            linkRows(reach.y, g, runs(1), none);
        if (z == 0 || reach.z == Reach::kNone)
            return;
        // Where the rows before both have foreground too, these four are linked through them.
        const Line above{row(y - 1, z)}, aboveBefore{row(y - 1, z - 1)};
        linkRows(reach.z, g, runs(groupsY_), [&](int w) { return above(w) & aboveBefore(w); });
        if (y > 0)
            linkRows(reach.edge, g, runs(groupsY_ + 1), none);
        if (y + 1 < groupsY_)
            linkRows(reach.edge, g, runs(groupsY_ - 1), none);
    }

    /// Links rows of a label field, given the values of the rows. A stretch in which both rows keep
    /// their values needs one link, and a diagonal one only where both change.
    void linkFieldRows(Reach reach, const GroupRuns& g, const GroupRuns& h,
                       const unsigned char* gField, const unsigned char* hField) {
        if (reach == Reach::kNone)
            return;
        const int nx = volume_.grid.nx;
        for (int w = 0; w < words_; ++w) {
            const Word firsts = g.starts[w] | h.starts[w];
            if (!firsts)
                continue;
            const int x = 64 * w;
            const int count = nx - x < 64 ? nx - x : 64;
            unite(firsts & ~Ops::unequal(gField + x, hField + x, count, x), g, h, w);
            if (reach != Reach::kDiagonal)
                continue;
            const Run gBase = g.base[w] - 1, hBase = h.base[w] - 1;
            Word changes = g.starts[w] & h.starts[w];
            if (w == 0)
                changes &= ~Word{1};
            while (changes) {
                const Word upTo = changes ^ (changes - 1);
                const int at = x + Ops::lowest(changes);
                changes &= changes - 1;
                const Run gRun = gBase + static_cast<Run>(Ops::count(g.starts[w] & upTo));
                const Run hRun = hBase + static_cast<Run>(Ops::count(h.starts[w] & upTo));
                if (gField[at] == hField[at - 1])
                    forest_.unite(gRun, hRun - 1);
                if (gField[at - 1] == hField[at])
                    forest_.unite(gRun - 1, hRun);
            }
        }
    }

    void linkFieldRow(int y, int z) {
        const Grid& grid = volume_.grid;
        const Neighbourhood& reach = volume_.reach;
        const GroupRuns g = runs(0);
        const std::ptrdiff_t nx = grid.nx, slice = nx * grid.ny;
        const unsigned char* const field = volume_.field + z * slice + y * nx;
        if (y > 0)
            linkFieldRows(reach.y, g, runs(1), field, field - nx);
        if (z == 0 || reach.z == Reach::kNone)
            return;
        linkFieldRows(reach.z, g, runs(groupsY_), field, field - slice);
        if (y > 0)
            linkFieldRows(reach.edge, g, runs(groupsY_ + 1), field, field - slice - nx);
        if (y + 1 < groupsY_)
            linkFieldRows(reach.edge, g, runs(groupsY_ - 1), field, field - slice + nx);
    }

    /// Links groups by `contact`, which gives the Touch of a word. A stretch of columns that both
    /// groups have needs one link, in the first column with a contact; adding the stretch's first
    /// bit to its columns without contact carries a bit there. Contacts beside the stretches are
    /// between the end of one run and the start of another: those links are the only ones of their
    /// runs.
    template <class Contact>
    void linkGroups(const GroupRuns& g, const GroupRuns& h, const Contact& contact) {
        const Line gAny{g.any}, hAny{h.any};
        Word previous = 0;
        Word open = 0;  // 1 when the stretch that reaches the next word has no contact yet
        for (int w = 0; w < words_; ++w) {
            if (!gAny(w)) {
                previous = open = 0;
                continue;
            }
            const Touch touch = contact(w);
            const Word both = gAny(w) & hAny(w);
            const Word same = touch.same & both;
            const Word first = (both & ~(both << 1 | previous)) | (both & open);
            const Word bare = both & ~same;
            const Word sum = bare + first;
            open = sum < bare;
            previous = both >> 63;
            Word links = sum & same;
            const Word beside = ~hAny(w);
            if (touch.left & beside)
                links |= touch.left & beside & ~shiftedUp(gAny, w);
            if (touch.right & beside)
                unite(touch.right & beside & ~shiftedDown(gAny, w, words_), g, h, w, 1);
            unite(links, g, h, w);
        }
    }

    void linkPair(int group, int z) {
        const Neighbourhood& reach = volume_.reach;
        const int y = 2 * group;
        const int words = words_;
        const GroupRuns g = runs(0);
        const Line first{row(y, z)}, second{row(y + 1, z)}, above{row(y - 1, z)};
        if (group > 0) {
            linkGroups(g, runs(1), [&](int w) { return diagonalTouch(first, above, w, words); });
        }
        if (z == 0 || reach.z == Reach::kNone)
            return;
        const Line before{row(y, z - 1)}, secondBefore{row(y + 1, z - 1)};
        if (reach.z == Reach::kStraight) {
            linkGroups(g, runs(groupsY_), [&](int w) {
                return straightTouch(first, before, w) | straightTouch(second, secondBefore, w);
            });
            return;
        }
        linkGroups(g, runs(groupsY_), [&](int w) {
            return diagonalTouch(first, before, w, words) |
                   diagonalTouch(second, secondBefore, w, words) |
                   straightTouch(first, secondBefore, w) | straightTouch(second, before, w);
        });
        // Foreground that both of two facing voxels touch links them already.
        if (group > 0) {
            const ExceptLine facing{first.row, above.row, before.row};
            const Line aboveBefore{row(y - 1, z - 1)};
            linkGroups(g, runs(groupsY_ + 1),
                       [&](int w) { return straightTouch(facing, aboveBefore, w); });
        }
        if (group + 1 < groupsY_) {
            const ExceptLine facing{second.row, secondBefore.row, volume_.zeros};
            const Line belowBefore{row(y + 2, z - 1)};
            linkGroups(g, runs(groupsY_ - 1),
                       [&](int w) { return straightTouch(facing, belowBefore, w); });
        }
    }

    void linkBlock(int group, int z) {
        const int y = 2 * group;
        const int words = words_;
        const GroupRuns g = runs(0);
        const auto linkFacing = [&](int slotsBack, const auto& a, const auto& b) {
            linkGroups(g, runs(slotsBack), [&](int w) { return diagonalTouch(a, b, w, words); });
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
            linkFacing(groupsY_ + 1, ExceptLine{first, above, before},
                       ExceptLine{row(y - 1, z - 1), above, before});
        }
        if (group + 1 < groupsY_) {
            const Word* const below = row(y + 2, z);
            linkFacing(groupsY_ - 1, ExceptLine{second, below, secondBefore},
                       ExceptLine{row(y + 2, z - 1), below, secondBefore});
        }
    }

    /// Whether more components than the limit may coexist after some row of slices z and z + 1.
    /// After the slices before it they are counted; from there on each new one begins with a
    /// stretch whose first voxel touches no row before.
    bool mayExceedLimit(int z) const {
        const Grid& grid = volume_.grid;
        const std::uint64_t perRow = static_cast<std::uint64_t>(grid.nx / 2 + 1);
        std::uint64_t count = forest_.numRoots();
        if (count + 2 * perRow * static_cast<std::uint64_t>(grid.ny) <= linking_.limit)
            return false;
        for (int s = z; s < z + 2; ++s)
            for (int y = 0; y < grid.ny; ++y)
                count += newStretches(y, s);
        return count > linking_.limit;
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
    Linking& linking_;
    int words_;
    int groupsY_;
    int rowsZ_;
    int slots_;
    int slot_ = 0;
    Word* any_;
    Word* starts_;
    Run* base_;
    Forest forest_;
};

std::size_t linkBytes(const Volume& volume) {
    return static_cast<std::size_t>(Linker::numSlots(volume)) *
           static_cast<std::size_t>(volume.grid.words) * (2 * sizeof(Word) + sizeof(Run));
}

LinkResult link(const Volume& volume, Linking& linking) {
    return Linker(volume, linking).run();
}

}  // namespace
}  // namespace components
