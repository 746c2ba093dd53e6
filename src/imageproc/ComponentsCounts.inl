// Kernels that gather the statistics of components. Included by the portable and the wide unit,
// which define Ops; everything here has internal linkage.
#pragma once

namespace components {
namespace {

/// A group of rows while its labels are written. Row dy + 2 * dz lies at y + dy, z + dz.
struct BandGroup {
    int y, z;
    /// How many rows there are in y and in z; those that the grouping takes beyond are empty.
    int numY, numZ;
    const Word* rows[4];
    const Word* marks[4];
    /// The values of a row of a label field.
    const unsigned char* field;
    /// Of the union of the rows: foreground, first voxels of the runs, those of runs that begin a
    /// component in the band; and how many runs of the group start before each word.
    const Word* any;
    const Word* starts;
    Word* fresh;
    Run* base;
    Run firstRun, numRuns;
};

/// A choice among the runs of a group, a bit for each, handed out word by word of their first
/// voxels.
class Selection {
public:
    explicit Selection(const Word* bits) : bits_(bits) {}

    /// Returns those of `starts`, the first voxels of the next runs, whose runs are chosen.
    Word take(Word starts) {
        const int shift = next_ & 63;
        const Word* const at = bits_ + (next_ >> 6);
        const Word bits = shift ? at[0] >> shift | at[1] << (64 - shift) : at[0];
        next_ += Ops::count(starts);
        return Ops::deposit(bits, starts);
    }

private:
    const Word* bits_;
    int next_ = 0;
};

/// The bits of word w whose columns lie in [from, to). Expects some to do.
inline Word columnsIn(int w, int from, int to) {
    const int x = 64 * w;
    const Word low = from > x ? ~Word{0} << (from - x) : ~Word{0};
    return to - x < 64 ? low & ~(~Word{0} << (to - x)) : low;
}

inline std::uint64_t countOf(Word bits) {
    return static_cast<std::uint64_t>(Ops::count(bits));
}

/// The sum of the positions of the set bits: each is the sum of the powers of 2 in it, which makes
/// six masked counts; `kPowers` of them for positions in lanes of 2^kPowers bits.
template <int kPowers = 6>
inline std::uint64_t sumOfPositions(Word bits) {
    constexpr Word kMasks[6] = {0xAAAAAAAAAAAAAAAA, 0xCCCCCCCCCCCCCCCC, 0xF0F0F0F0F0F0F0F0,
                                0xFF00FF00FF00FF00, 0xFFFF0000FFFF0000, 0xFFFFFFFF00000000};
    std::uint64_t sum = 0;
    for (int k = 0; k < kPowers; ++k)
        sum += countOf(bits & kMasks[k]) << k;
    return sum;
}

/// Counts and sums of some voxels.
struct Counts {
    std::uint64_t voxels;
    std::uint64_t marked;
    std::uint64_t sums[3];
};

/// Counts the runs of components into their records, the dominant one's as the total minus the
/// rest.
template <Grouping kGrouping>
class Counter {
public:
    Counter(const Volume& volume, const Writing& writing) : volume_(volume), writing_(writing) {
        begin(0, 1);
    }

    /// Empties the records of the components from `first` to before `end`.
    void begin(Run first, Run end) {
        for (Run label = first; label < end; ++label)
            writing_.records[label] = {static_cast<std::int32_t>(label), 0, 0, {0, 0, 0}};
    }

    /// From here on the runs of this component are not counted. Expects that one has been, and that
    /// none has had another label.
    void setDominant(Run label) { dominant_ = label; }

    /// Counts the group's runs. `selected` is room for a bit per run.
    void countGroup(const BandGroup& group, Word* selected) {
        if (writing_.dominant != kNoRun && !volume_.field)
            addTotal(group);
        const Run* const labels = volume_.parents + group.firstRun;
        const int numRuns = static_cast<int>(group.numRuns);
        if (dominant_ && !Ops::selectUnequal(labels, numRuns, dominant_, selected))
            return;
        Selection selection(selected);
        for (int w = 0; w < volume_.grid.words; ++w) {
            const Word starts = group.starts[w];
            const Word chosen = dominant_ ? selection.take(starts) : starts;
            if (chosen)
                countRuns(group, w, chosen, labels + group.base[w] - 1);
        }
    }

    /// Completes the records of the components 1 to `count`: rounds the large sums and gives the
    /// dominant component what the others leave.
    void finish(Run count) {
        if (volume_.field)
            totalOfAll();
        for (Run i = 0; i < writing_.numLarge; ++i) {
            const LargeSums& large = writing_.large[i];
            if (large.label == 0)
                continue;
            for (int axis = 0; axis < 3; ++axis) {
                if (large.label != dominant_)
                    total_.sums[axis] -= large.sums[axis];
                writing_.records[large.label].sums[axis] = 0;
            }
        }
        if (dominant_)
            takeOthersFromTotal(count);
        for (Run i = 0; i < writing_.numLarge; ++i)
            if (writing_.large[i].label)
                round(writing_.large[i].sums, writing_.records[writing_.large[i].label]);
        if (dominant_ == 0)
            return;
        Record& record = writing_.records[dominant_];
        record.numVoxels = static_cast<std::uint32_t>(total_.voxels);
        if (!volume_.field)
            record.mark = static_cast<std::uint32_t>(total_.marked);
        round(total_.sums, record);
    }

private:
    void takeOthersFromTotal(Run count) {
        for (Run label = 1; label <= count; ++label) {
            if (label == dominant_)
                continue;
            const Record& record = writing_.records[label];
            total_.voxels -= record.numVoxels;
            total_.marked -= record.mark;
            for (int axis = 0; axis < 3; ++axis)
                total_.sums[axis] -= static_cast<std::uint64_t>(record.sums[axis]);
        }
    }

    /// Counts the runs that start at the bits of `chosen`, given the labels of the runs that start
    /// in the word, counted from 1.
    void countRuns(const BandGroup& group, int w, Word chosen, const Run* labels) {
        const int words = volume_.grid.words;
        const Word starts = group.starts[w];
        const Word ends = starts | ~group.any[w];
        const bool goesOn = w + 1 < words && (group.any[w + 1] & ~group.starts[w + 1] & 1);
        for (; chosen; chosen &= chosen - 1) {
            const Word upTo = chosen ^ (chosen - 1);
            const Word later = ends & ~upTo;
            const int from = 64 * w + Ops::lowest(chosen);
            const Run label = labels[Ops::count(starts & upTo)];
            // From the first bit to before the one that ends the run, if that is in the word.
            const Word columns = (later & (~later + 1)) - (chosen & (~chosen + 1));
            if (later == 0 && goesOn)
                countLongRun(group, from, endOfRun(group, w + 1), label);
            else if (kGrouping == Grouping::kRows)
                add(label, countStretch(group, from, Ops::count(columns)));
            else if (columns >> (from & 63) <= 0xFFFF)
                add(label, countLanes(group, w, from, columns));
            else
                countLongRun(group, from, from + Ops::count(columns), label);
        }
    }

    /// The end of a run that goes on in word w.
    int endOfRun(const BandGroup& group, int w) const {
        for (; w < volume_.grid.words; ++w) {
            const Word ends = group.starts[w] | ~group.any[w];
            if (ends)
                return 64 * w + Ops::lowest(ends);
        }
        return volume_.grid.nx;
    }

    void countLongRun(const BandGroup& group, int from, int to, Run label) {
        if (kGrouping == Grouping::kRows) {
            add(label, countStretch(group, from, to - from));
            return;
        }
        for (int dz = 0; dz < group.numZ; ++dz)
            for (int dy = 0; dy < group.numY; ++dy)
                add(label, countColumns(group, dy, dz, from, to));
    }

    /// Counts a run of a single row, which has all voxels.
    Counts countStretch(const BandGroup& group, int from, int length) const {
        const std::uint64_t n = static_cast<std::uint64_t>(length);
        Counts counts{
            n,
            n,
            {n * static_cast<std::uint64_t>(from) + n * (n - 1) / 2,
             n * static_cast<std::uint64_t>(group.y), n * static_cast<std::uint64_t>(group.z)}};
        if (volume_.field)
            counts.marked = group.field[from];
        else if (group.marks[0])
            counts.marked = countMarks(group.marks[0], from, from + length);
        return counts;
    }

    /// Counts a run of at most 16 columns in word w: its rows side by side in lanes of 16 bits.
    static Counts countLanes(const BandGroup& group, int w, int from, Word columns) {
        const Word lanes = lanesOf(group.rows, w, from, columns);
        const std::uint64_t n = countOf(lanes);
        const std::uint64_t marked =
            group.marks[0] ? countOf(lanesOf(group.marks, w, from, columns)) : n;
        return {n,
                marked,
                {n * static_cast<std::uint64_t>(from) + sumOfPositions<4>(lanes),
                 n * static_cast<std::uint64_t>(group.y) + countOf(lanes & 0xFFFF0000FFFF0000),
                 n * static_cast<std::uint64_t>(group.z) + countOf(lanes >> 32)}};
    }

    static Word lanesOf(const Word* const* rows, int w, int from, Word columns) {
        constexpr int kRows = kGrouping == Grouping::kBlocks ? 4 : 2;
        Word lanes = 0;
        for (int r = 0; r < kRows; ++r)
            lanes |= (rows[r][w] & columns) >> (from & 63) << (16 * r);
        return lanes;
    }

    /// Counts the voxels of a row of a group in the columns [from, to).
    static Counts countColumns(const BandGroup& group, int dy, int dz, int from, int to) {
        const Word* const row = group.rows[dy + 2 * dz];
        const Word* const marks = group.marks[dy + 2 * dz];
        Counts counts{};
        for (int w = from >> 6; w <= (to - 1) >> 6; ++w) {
            const Word bits = row[w] & columnsIn(w, from, to);
            if (!bits)
                continue;
            const std::uint64_t n = countOf(bits);
            counts.voxels += n;
            counts.sums[0] += n * (64 * static_cast<std::uint64_t>(w)) + sumOfPositions(bits);
        }
        counts.marked = marks ? countMarks(marks, from, to) : counts.voxels;
        counts.sums[1] = counts.voxels * static_cast<std::uint64_t>(group.y + dy);
        counts.sums[2] = counts.voxels * static_cast<std::uint64_t>(group.z + dz);
        return counts;
    }

    static std::uint64_t countMarks(const Word* marks, int from, int to) {
        std::uint64_t count = 0;
        for (int w = from >> 6; w <= (to - 1) >> 6; ++w)
            count += countOf(marks[w] & columnsIn(w, from, to));
        return count;
    }

    /// The total of a label field, which has all voxels.
    void totalOfAll() {
        const auto x = static_cast<std::uint64_t>(volume_.grid.nx);
        const auto y = static_cast<std::uint64_t>(volume_.grid.ny);
        const auto z = static_cast<std::uint64_t>(volume_.grid.nz);
        total_.voxels = x * y * z;
        total_.sums[0] = x * (x - 1) / 2 * y * z;
        total_.sums[1] = y * (y - 1) / 2 * x * z;
        total_.sums[2] = z * (z - 1) / 2 * x * y;
    }

    void addTotal(const BandGroup& group) {
        for (int dz = 0; dz < group.numZ; ++dz) {
            for (int dy = 0; dy < group.numY; ++dy) {
                const Counts counts = countColumns(group, dy, dz, 0, volume_.grid.nx);
                total_.voxels += counts.voxels;
                total_.marked += counts.marked;
                for (int axis = 0; axis < 3; ++axis)
                    total_.sums[axis] += counts.sums[axis];
            }
        }
    }

    void add(Run label, const Counts& counts) {
        Record& record = writing_.records[label];
        record.numVoxels += static_cast<std::uint32_t>(counts.voxels);
        if (volume_.field)
            record.mark = static_cast<std::uint32_t>(counts.marked);
        else
            record.mark += static_cast<std::uint32_t>(counts.marked);
        const float x = record.sums[0] + toFloat(counts.sums[0]);
        const float y = record.sums[1] + toFloat(counts.sums[1]);
        const float z = record.sums[2] + toFloat(counts.sums[2]);
        if (x >= kInexact || y >= kInexact || z >= kInexact) {
            addLarge(label, counts);
            return;
        }
        record.sums[0] = x;
        record.sums[1] = y;
        record.sums[2] = z;
    }

    /// Adds to a component in the table of large sums, which it enters first if need be.
    void addLarge(Run label, const Counts& counts) {
        Run i = label & (writing_.numLarge - 1);
        while (writing_.large[i].label != label && writing_.large[i].label != 0)
            i = (i + 1) & (writing_.numLarge - 1);
        LargeSums& large = writing_.large[i];
        Record& record = writing_.records[label];
        for (int axis = 0; axis < 3; ++axis) {
            if (large.label == 0)
                large.sums[axis] = static_cast<std::uint64_t>(record.sums[axis]);
            large.sums[axis] += counts.sums[axis];
            record.sums[axis] = kInexact;  // so that all that is added later comes here, too
        }
        large.label = label;
    }

    static float toFloat(std::uint64_t sum) {
        return static_cast<float>(static_cast<std::int64_t>(sum));
    }

    static void round(const std::uint64_t* sums, Record& record) {
        for (int axis = 0; axis < 3; ++axis)
            record.sums[axis] = toFloat(sums[axis]);
    }

    /// Sums below this are exact in a float.
    static constexpr float kInexact = 1 << 24;

    const Volume& volume_;
    const Writing& writing_;
    /// Label of the dominant component; 0 until it is known.
    Run dominant_ = 0;
    Counts total_ = {};
};

}  // namespace
}  // namespace components
