// The runs that may still be touched, and union-find over all of them. Included by the portable
// and the wide unit, which define Ops; everything here has internal linkage.
#pragma once

namespace components {
namespace {

/// The runs of a group of rows.
struct GroupRuns {
    /// Where one of the rows has foreground; in a label field, as `starts`.
    const Word* any;
    /// The first voxels of the runs.
    const Word* starts;
    /// The number of the last run that starts before each word, plus 1.
    const Run* base;
    Run numRuns;
};

/// Union-find over runs. The root of a tree is its first run; a run's parent comes before it.
class Forest {
public:
    /// Goes on with a forest of some runs.
    Forest(Run* parents, Run numRuns, Run numRoots)
        : parents_(parents), numRuns_(numRuns), numRoots_(numRoots) {}

    Run numRuns() const { return numRuns_; }
    Run numRoots() const { return numRoots_; }

    /// Adds runs, each a tree of its own.
    void add(Run count) {
        Ops::countUp(parents_ + numRuns_, numRuns_, count);
        numRuns_ += count;
        numRoots_ += count;
    }

    /// Adds a run that is a tree of its own to the tree of a run before it.
    void adopt(Run run, Run before) {
        parents_[run] = root(before);
        --numRoots_;
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
    Run numRuns_;
    Run numRoots_;
};

/// The runs of a group and of those before it that it may touch.
class RecentRuns {
public:
    /// Goes on where `linking` has come.
    RecentRuns(const Volume& volume, const Linking& linking)
        : words_(volume.grid.words),
          slots_(numSlots(volume)),
          slot_(linking.slot),
          forest_(volume.parents, linking.numRuns, linking.numRoots) {
        const std::ptrdiff_t size = static_cast<std::ptrdiff_t>(slots_) * words_;
        lines_ = static_cast<Word*>(linking.scratch) + 1;
        lines_[-1] = lines_[words_] = lines_[words_ + 1] = lines_[2 * words_ + 2] = 0;
        any_ = lines_ + 2 * words_ + 3;
        starts_ = any_ + size;
        runs_ = reinterpret_cast<GroupRuns*>(starts_ + size);
        base_ = reinterpret_cast<Run*>(runs_ + slots_);
    }

    void leaveTo(Linking& linking) const {
        linking.slot = slot_;
        linking.numRuns = forest_.numRuns();
        linking.numRoots = forest_.numRoots();
    }

    /// The size of the work space.
    static std::size_t bytes(const Volume& volume) {
        const std::size_t words = static_cast<std::size_t>(volume.grid.words);
        return (2 * words + 4) * sizeof(Word) +
               static_cast<std::size_t>(numSlots(volume)) *
                   (sizeof(GroupRuns) + words * (2 * sizeof(Word) + sizeof(Run)));
    }

    static int groupsPerSlice(const Volume& volume) {
        return volume.grouping == Grouping::kRows ? volume.grid.ny : (volume.grid.ny + 1) / 2;
    }

    /// Adds the next group, given the words of the union of its rows; returns whether it has runs.
    template <class Rows>
    bool addGroup(const Rows& rows) {
        nextSlot();
        Word* const any = any_ + slotOffset();
        for (int w = 0; w < words_; ++w)
            any[w] = rows(w);
        return addRuns(any);
    }

    /// Adds the next row of foreground.
    bool addRow(const Word* row) {
        nextSlot();
        return addRuns(row);
    }

    /// Adds the next row of a label field, given the first voxels of its runs.
    void addFieldRow(const Word* starts) {
        nextSlot();
        number({starts, starts, base_ + slotOffset(), 0});
    }

    /// The group that was added last, or another so many before it.
    const GroupRuns& runs(int groupsBack) const {
        const int slot = slot_ - groupsBack;
        return runs_[slot < 0 ? slot + slots_ : slot];
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

    /// The same where the run of g is still a tree of its own at each bit.
    void adopt(Word links, const GroupRuns& g, const GroupRuns& h, int w) {
        const Word gStarts = g.starts[w], hStarts = h.starts[w];
        const Run gBase = g.base[w] - 1, hBase = h.base[w] - 1;
        while (links) {
            const Word upTo = links ^ (links - 1);
            links &= links - 1;
            forest_.adopt(gBase + static_cast<Run>(Ops::count(gStarts & upTo)),
                          hBase + static_cast<Run>(Ops::count(hStarts & upTo)));
        }
    }

    /// Room for the words of a row and for those of another from place words + 2 on; a word of
    /// zeros stands before and behind each.
    Word* lines() { return lines_; }

    Forest& forest() { return forest_; }
    const Forest& forest() const { return forest_; }

private:
    static int numSlots(const Volume& volume) {
        return volume.reach.z == Reach::kNone ? 2 : groupsPerSlice(volume) + 2;
    }

    void nextSlot() { slot_ = slot_ + 1 == slots_ ? 0 : slot_ + 1; }
    std::ptrdiff_t slotOffset() const { return static_cast<std::ptrdiff_t>(slot_) * words_; }

    bool addRuns(const Word* any) {
        Word* const starts = starts_ + slotOffset();
        Word carry = 0;
        for (int w = 0; w < words_; ++w) {
            starts[w] = any[w] & ~(any[w] << 1 | carry);
            carry = any[w] >> 63;
        }
        return number({any, starts, base_ + slotOffset(), 0});
    }

    bool number(const GroupRuns& runs) {
        runs_[slot_] = runs;
        Run* const base = base_ + slotOffset();
        Run next = forest_.numRuns();
        for (int w = 0; w < words_; ++w) {
            base[w] = next;
            next += static_cast<Run>(Ops::count(runs.starts[w]));
        }
        const Run count = next - forest_.numRuns();
        forest_.add(count);
        runs_[slot_].numRuns = count;
        return count != 0;
    }

    int words_;
    int slots_;
    int slot_;
    Word* lines_;
    Word* any_;
    Word* starts_;
    GroupRuns* runs_;
    Run* base_;
    Forest forest_;
};

/// Finds, word by word along a row, the first of some bits in each run of foreground.
class FirstInRun {
public:
    /// Which of `bits` are the first in their runs. Adding a run's first voxel to its voxels
    /// without a bit carries to the first one with a bit.
    Word of(Word bits, Word any, Word starts) {
        const Word bare = any & ~bits;
        const Word withStarts = bare + starts;
        const Word sum = withStarts + open_;
        open_ = withStarts < bare || sum < withStarts;
        return sum & bits;
    }

private:
    Word open_ = 0;  // 1 when the run that reaches the next word has had no bit yet
};

/// Finds the first of some bits in each run of a label field that starts in the word. Taking a
/// run's first voxel from its bits, with its last voxel added, takes the lowest one away; nothing
/// is borrowed from the next run.
inline Word firstsInRuns(Word bits, Word starts) {
    const Word withLasts = bits | starts >> 1 | Word{1} << 63;
    const Word firsts = withLasts & ~(withLasts - (starts | 1));
    const Word before = starts ? (starts & (~starts + 1)) - 1 : ~Word{0};
    return firsts & bits & ~before;
}

/// Spreads each bit of a stretch towards the stretch's start, over up to seven columns. A bit of
/// `joined` says that its column and the next one are of one stretch.
inline Word spreadToStart(Word bits, Word joined) {
    bits |= bits >> 1 & joined;
    joined &= joined >> 1;
    bits |= bits >> 2 & joined;
    joined &= joined >> 2;
    return bits | (bits >> 4 & joined);
}

}  // namespace
}  // namespace components
