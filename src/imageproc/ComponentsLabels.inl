// Kernels that number the components and write their labels. Included by the portable and the
// wide unit, which define Ops; everything here has internal linkage.
#pragma once

#include "imageproc/ComponentsCounts.inl"

namespace components {
namespace {

/// Writes labels of type Label (16 or 32 bits, unsigned).
///
/// The work goes band by band: a row, a pair of rows, or all blocks of a pair of slices, so that
/// each component's first voxel lies in the band of its root. The runs of a band get the labels of
/// their roots; components that begin in the band are numbered by going through its rows in raster
/// order. Then the labels are written and the runs counted.
template <class Label, Grouping kGrouping>
class Writer {
public:
    Writer(const Volume& volume, const Writing& writing)
        : volume_(volume),
          writing_(writing),
          counter_(volume, writing),
          labels_(static_cast<Label*>(writing.labels)),
          words_(volume.grid.words),
          sliceWords_(static_cast<std::ptrdiff_t>(volume.grid.ny) * words_),
          groupsY_((volume.grid.ny + kRowsY - 1) / kRowsY),
          groupsPerBand_(groupsPerBand(volume)) {
        const std::ptrdiff_t size = static_cast<std::ptrdiff_t>(groupsPerBand_) * words_;
        Word* words = static_cast<Word*>(writing.scratch);
        full_ = words;
        selected_ = full_ + words_;
        any_ = selected_ + words_ + 2;
        starts_ = any_ + size;
        fresh_ = starts_ + size;
        groups_ = reinterpret_cast<BandGroup*>(fresh_ + size);
        base_ = reinterpret_cast<Run*>(groups_ + groupsPerBand_);
        narrow_ = reinterpret_cast<Label*>(base_ + size) + kPadding;
        for (int w = 0; w < words_; ++w)
            full_[w] = columnsIn(w, 0, volume_.grid.nx);
    }

    /// The size of the work space.
    static std::size_t bytes(const Volume& volume) {
        const std::ptrdiff_t groups = groupsPerBand(volume);
        const std::ptrdiff_t words = volume.grid.words;
        return static_cast<std::size_t>(
            (2 * words + 2 + 3 * groups * words) * static_cast<std::ptrdiff_t>(sizeof(Word)) +
            groups * static_cast<std::ptrdiff_t>(sizeof(BandGroup)) +
            groups * words * static_cast<std::ptrdiff_t>(sizeof(Run)) +
            (64 * words + 2 * kPadding) * static_cast<std::ptrdiff_t>(sizeof(Label)));
    }

    void run() {
        for (int z = 0; z < volume_.grid.nz; z += kRowsZ)
            for (int group = 0; group < groupsY_; group += groupsPerBand_)
                writeBand(group, z);
        counter_.finish(nextLabel_ - 1);
    }

private:
    // Until the components that begin in the band are numbered their runs have kFresh and the
    // number of the root in the band for labels.
    static constexpr Run kFresh = Run{1} << 31;

    static constexpr int kRowsY = kGrouping == Grouping::kRows ? 1 : 2;
    static constexpr int kRowsZ = kGrouping == Grouping::kBlocks ? 2 : 1;

    static int groupsPerBand(const Volume& volume) {
        return kGrouping == Grouping::kBlocks ? (volume.grid.ny + 1) / 2 : 1;
    }

    void writeBand(int firstGroup, int z) {
        for (int i = 0; i < groupsPerBand_; ++i)
            describeGroup(firstGroup + i, z, i);
        resolveRuns();
        for (int i = 0; i < groupsPerBand_; ++i)
            writeGroup(groups_[i]);
        if (writing_.dominant >= groups_[0].firstRun && writing_.dominant < nextRun_)
            counter_.setDominant(volume_.parents[writing_.dominant]);
    }

    void describeGroup(int index, int z, int inBand) {
        const Grid& grid = volume_.grid;
        BandGroup& group = groups_[inBand];
        group.y = kRowsY * index;
        group.z = z;
        group.numY = grid.ny - group.y < kRowsY ? 1 : kRowsY;
        group.numZ = grid.nz - group.z < kRowsZ ? 1 : kRowsZ;
        const std::ptrdiff_t first = (static_cast<std::ptrdiff_t>(z) * grid.ny + group.y) * words_;
        for (int dz = 0; dz < kRowsZ; ++dz) {
            for (int dy = 0; dy < kRowsY; ++dy) {
                const bool isThere = dy < group.numY && dz < group.numZ;
                const std::ptrdiff_t row = first + (dz ? sliceWords_ : 0) + (dy ? words_ : 0);
                group.rows[dy + 2 * dz] = isThere ? volume_.bits + row : volume_.zeros;
                group.marks[dy + 2 * dz] = !volume_.marks ? nullptr
                                           : isThere      ? volume_.marks + row
                                                          : volume_.zeros;
            }
        }
        findRuns(group, static_cast<std::ptrdiff_t>(inBand) * words_);
    }

    /// Finds the runs of a group, given the place of its words in the work space.
    void findRuns(BandGroup& group, std::ptrdiff_t place) {
        Word* const any = any_ + place;
        Word* const starts = starts_ + place;
        group.any = any;
        group.starts = starts;
        group.fresh = fresh_ + place;
        group.base = base_ + place;
        if (kGrouping == Grouping::kBlocks) {
            for (int w = 0; w < words_; ++w)
                any[w] = group.rows[0][w] | group.rows[1][w] | group.rows[2][w] | group.rows[3][w];
        } else if (kGrouping == Grouping::kPairs) {
            for (int w = 0; w < words_; ++w)
                any[w] = group.rows[0][w] | group.rows[1][w];
        } else if (volume_.field) {
            group.starts = group.rows[0];
            group.any = group.rows[0] = full_;
            group.field =
                volume_.field + (static_cast<std::ptrdiff_t>(group.z) * volume_.grid.ny + group.y) *
                                    volume_.grid.nx;
        } else {
            group.any = group.rows[0];
        }
        if (!volume_.field) {
            Word carry = 0;
            for (int w = 0; w < words_; ++w) {
                starts[w] = group.any[w] & ~(group.any[w] << 1 | carry);
                carry = group.any[w] >> 63;
            }
        }
        Run count = 0;
        for (int w = 0; w < words_; ++w) {
            group.base[w] = count;
            count += static_cast<Run>(Ops::count(group.starts[w]));
        }
        group.firstRun = nextRun_;
        group.numRuns = count;
        nextRun_ += count;
    }

    /// Turns the parents of the band's runs into labels.
    void resolveRuns() {
        Run* const parents = volume_.parents;
        const Run first = groups_[0].firstRun;
        const Run firstLabel = nextLabel_;
        if constexpr (kGrouping == Grouping::kRows) {
            for (Run run = first; run < nextRun_; ++run) {
                const Run parent = parents[run];
                parents[run] = parent == run ? nextLabel_ : parents[parent];
                nextLabel_ += parent == run;
            }
        } else {
            Run numFresh = 0;
            for (Run run = first; run < nextRun_; ++run) {
                const Run parent = parents[run];
                parents[run] = parent == run ? kFresh | (run - first) : parents[parent];
                numFresh += parent == run;
            }
            if (numFresh)
                numberFresh();
        }
        counter_.begin(firstLabel, nextLabel_);
    }

    /// Numbers the components that begin in the band.
    void numberFresh() {
        for (int i = 0; i < groupsPerBand_; ++i)
            selectFresh(groups_[i]);
        for (int dz = 0; dz < kRowsZ; ++dz)
            for (int i = 0; i < groupsPerBand_; ++i)
                for (int dy = 0; dy < kRowsY; ++dy)
                    numberRow(groups_[i], groups_[i].rows[dy + 2 * dz]);
        const Run first = groups_[0].firstRun;
        Run* const labels = volume_.parents + first;
        for (Run run = 0; run < nextRun_ - first; ++run) {
            const Run label = labels[run];
            const Run ofRoot = labels[label & kFresh ? label & ~kFresh : run];
            labels[run] = ofRoot;
        }
    }

    void selectFresh(BandGroup& group) {
        Ops::selectFlagged(volume_.parents + group.firstRun, static_cast<int>(group.numRuns),
                           selected_);
        Selection selection(selected_);
        for (int w = 0; w < words_; ++w)
            group.fresh[w] = selection.take(group.starts[w]);
    }

    /// Numbers the components that have their first voxels in one row of a group. Adding the first
    /// bit of each run to its columns without foreground in the row carries a bit to the first one
    /// with.
    void numberRow(const BandGroup& group, const Word* row) {
        Run* const bandLabels = volume_.parents + groups_[0].firstRun;
        const Run* const labels = volume_.parents + group.firstRun;
        Word carry = 0;
        for (int w = 0; w < words_; ++w) {
            const Word bare = group.any[w] & ~row[w];
            const Word withFirst = bare + group.fresh[w];
            const Word sum = withFirst + carry;
            carry = withFirst < bare || sum < withFirst;
            const Run* const labelsOfWord = labels + group.base[w] - 1;
            for (Word firsts = sum & row[w]; firsts; firsts &= firsts - 1) {
                const Word upTo = firsts ^ (firsts - 1);
                const Run label = labelsOfWord[Ops::count(group.starts[w] & upTo)];
                Run& ofRoot = bandLabels[label & kFresh ? label & ~kFresh : 0];
                if (label & ofRoot & kFresh)
                    ofRoot = nextLabel_++;
            }
        }
    }

    void writeGroup(const BandGroup& group) {
        const Grid& grid = volume_.grid;
        const std::ptrdiff_t slice = static_cast<std::ptrdiff_t>(grid.nx) * grid.ny;
        const Label* const labels = labelsOf(group);
        for (int dz = 0; dz < group.numZ; ++dz) {
            Label* const first = labels_ + (group.z + dz) * slice;
            for (int dy = 0; dy < group.numY; ++dy)
                writeRow(first + static_cast<std::ptrdiff_t>(group.y + dy) * grid.nx, first + slice,
                         group.rows[dy + 2 * dz], group.starts, labels);
        }
        if (group.numRuns != 0)
            counter_.countGroup(group, selected_);
    }

    /// The labels of the group's runs; `kPadding` entries before and behind may be read.
    const Label* labelsOf(const BandGroup& group) {
        const Run* const runs = volume_.parents + group.firstRun;
        if constexpr (sizeof(Label) == sizeof(Run)) {
            return runs;
        } else {
            Ops::narrow(runs, static_cast<int>(group.numRuns), narrow_);
            return narrow_;
        }
    }

    /// Writes a row's labels: whole words of one label as fills, eight voxels at a time else. May
    /// write beyond the row's end up to `end`, into rows that are written later.
    void writeRow(Label* row, const Label* end, const Word* bits, const Word* starts,
                  const Label* labels) {
        const Label* current = labels - 1;  // label of the last run that has started
        const int wholeWords = volume_.grid.nx / 64;
        for (int w = 0; w < wholeWords; ++w) {
            writeWord(row + 64 * w, bits[w], starts[w], ~Word{0}, current, 8);
            current += Ops::count(starts[w]);
        }
        if (wholeWords == words_)
            return;
        const int count = volume_.grid.nx - 64 * wholeWords;
        const int blocks = (count + 7) / 8;
        Label* const rest = row + 64 * wholeWords;
        Label buffer[64];
        Label* const out = end - rest >= 8 * blocks ? rest : buffer;
        writeWord(out, bits[wholeWords], starts[wholeWords], full_[wholeWords], current, blocks);
        if (out == buffer)
            std::memcpy(rest, buffer, static_cast<std::size_t>(count) * sizeof(Label));
    }

    static void writeWord(Label* out, Word bits, Word starts, Word full, const Label* current,
                          int blocks) {
        if (bits == 0)
            Ops::fill(out, Label{0}, blocks);
        else if (bits == full && starts <= 1)
            Ops::fill(out, current[starts], blocks);
        else
            Ops::spread(out, bits, starts, current, blocks);
    }

    const Volume& volume_;
    const Writing& writing_;
    Counter<kGrouping> counter_;
    Label* labels_;
    int words_;
    std::ptrdiff_t sliceWords_;
    int groupsY_, groupsPerBand_;
    Run nextRun_ = 0;
    Run nextLabel_ = 1;

    // The work space.
    Word* full_;      // a row full of foreground
    Word* selected_;  // a bit per run of a group
    Word* any_;
    Word* starts_;
    Word* fresh_;
    BandGroup* groups_;
    Run* base_;
    Label* narrow_;  // labels of the runs of a group
};

/// Calls `use` with the type of the writer for a volume.
template <class Label, class Use>
auto withWriter(const Volume& volume, const Use& use) {
    switch (volume.grouping) {
        case Grouping::kRows:
            return use.template operator()<Writer<Label, Grouping::kRows>>();
        case Grouping::kPairs:
            return use.template operator()<Writer<Label, Grouping::kPairs>>();
        case Grouping::kBlocks:
            break;
    }
    return use.template operator()<Writer<Label, Grouping::kBlocks>>();
}

std::size_t writeBytes(const Volume& volume) {
    return withWriter<std::uint32_t>(volume, [&]<class W>() { return W::bytes(volume); });
}

void write(const Volume& volume, const Writing& writing) {
    const auto run = [&]<class W>() { W(volume, writing).run(); };
    if (writing.labelBytes == 2)
        withWriter<std::uint16_t>(volume, run);
    else
        withWriter<std::uint32_t>(volume, run);
}

}  // namespace
}  // namespace components
