// Kernels that gather the statistics of components. Included by the portable and the wide unit,
// which define Ops; everything here has internal linkage.
#pragma once

namespace components {
namespace {

/// A group of rows while its labels are written. Row dy + 2 * dz lies at y + dy, z + dz.
struct BandGroup {
    int y, z;
    /// How many rows there are in y and in z, 1 or 2; the others are without foreground.
    int numY, numZ;
    const Word* rows[4];
    const Word* marks[4];
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
            for (int dz = 0; dz < group.numZ; ++dz)
                for (int dy = 0; dy < group.numY; ++dy)
                    addTotal(group, dy, dz);
        const Run* const labels = volume_.parents + group.firstRun;
        if (!Ops::selectUnequal(labels, static_cast<int>(group.numRuns), dominant_, selected))
            return;
        Selection selection(selected);
        for (int w = 0; w < volume_.grid.words; ++w) {
            const Word starts = group.starts[w];
            if (!starts)
                continue;
            const Run* const labelsOfWord = labels + group.base[w] - 1;
            for (Word firsts = selection.take(starts); firsts; firsts &= firsts - 1) {
                const Word upTo = firsts ^ (firsts - 1);
                const int from = 64 * w + Ops::lowest(firsts);
                countRun(group, from, endOfRun(group, from),
                         labelsOfWord[Ops::count(starts & upTo)]);
            }
        }
    }

    /// Completes the records of the components 1 to `count`: gives the dominant one what the others
    /// leave, and turns the sums into floats.
    void finish(Run count) {
        Counts rest = volume_.field ? countGrid(volume_.grid) : total_;
        for (Run i = 0; i < writing_.numCarries; ++i) {
            Carry& carry = writing_.carries[i];
            for (int axis = 0; axis < 3; ++axis) {
                const std::uint64_t high = std::uint64_t{carry.high[axis]} << 32;
                if (carry.label != dominant_)
                    rest.sums[axis] -= high;
                carry.high[axis] = floatBits(high | writing_.records[carry.label].sums[axis]);
            }
        }
        for (Run label = 1; label <= count; ++label) {
            if (label == dominant_)
                continue;
            Record& record = writing_.records[label];
            rest.voxels -= record.numVoxels;
            rest.marked -= record.mark;
            for (int axis = 0; axis < 3; ++axis) {
                rest.sums[axis] -= record.sums[axis];
                record.sums[axis] = floatBits(record.sums[axis]);
            }
        }
        for (Run i = 0; i < writing_.numCarries; ++i) {
            const Carry& carry = writing_.carries[i];
            if (carry.label)
                std::memcpy(writing_.records[carry.label].sums, carry.high, sizeof carry.high);
        }
        if (dominant_ == 0)
            return;
        Record& record = writing_.records[dominant_];
        record.numVoxels = static_cast<std::uint32_t>(rest.voxels);
        if (!volume_.field)
            record.mark = static_cast<std::uint32_t>(rest.marked);
        for (int axis = 0; axis < 3; ++axis)
            record.sums[axis] = floatBits(rest.sums[axis]);
    }

private:
    int endOfRun(const BandGroup& group, int from) const {
        const int at = from + 1;
        int w = at >> 6;
        if (w == volume_.grid.words)
            return at;
        Word ends = (group.starts[w] | ~group.any[w]) & (~Word{0} << (at & 63));
        while (!ends) {
            if (++w == volume_.grid.words)
                return volume_.grid.nx;
            ends = group.starts[w] | ~group.any[w];
        }
        return 64 * w + Ops::lowest(ends);
    }

    /// Counts the run in the columns [from, to).
    void countRun(const BandGroup& group, int from, int to, Run label) {
        if (volume_.grouping == Grouping::kRows)
            add(label, countStretch(group, from, to));
        else if (to - from <= 16 && from >> 6 == (to - 1) >> 6)
            add(label, countLanes(group, from, to));
        else
            for (int dz = 0; dz < group.numZ; ++dz)
                for (int dy = 0; dy < group.numY; ++dy)
                    add(label, countColumns(group, dy, dz, from, to));
    }

    /// Counts a run of a single row, which has all voxels.
    Counts countStretch(const BandGroup& group, int from, int to) const {
        const std::uint64_t n = static_cast<std::uint64_t>(to - from);
        Counts counts{
            n,
            n,
            {n * (static_cast<std::uint64_t>(from) + static_cast<std::uint64_t>(to - 1)) / 2,
             n * static_cast<std::uint64_t>(group.y), n * static_cast<std::uint64_t>(group.z)}};
        if (volume_.field)
            counts.marked = volume_.field[rowIndex(group) * volume_.grid.nx + from];
        else if (group.marks[0])
            counts.marked = countMarks(group.marks[0], from, to);
        return counts;
    }

    /// Counts a run of at most 16 columns in one word: its rows side by side in lanes of 16 bits.
    static Counts countLanes(const BandGroup& group, int from, int to) {
        const Word lanes = lanesOf(group.rows, from, to);
        const std::uint64_t n = countOf(lanes);
        const std::uint64_t marked = group.marks[0] ? countOf(lanesOf(group.marks, from, to)) : n;
        return {n,
                marked,
                {n * static_cast<std::uint64_t>(from) + sumOfPositions<4>(lanes),
                 n * static_cast<std::uint64_t>(group.y) + countOf(lanes & 0xFFFF0000FFFF0000),
                 n * static_cast<std::uint64_t>(group.z) + countOf(lanes >> 32)}};
    }

    static Word lanesOf(const Word* const* rows, int from, int to) {
        const Word columns = ~(~Word{0} << (to - from));
        Word lanes = 0;
        for (int r = 0; r < 4; ++r)
            lanes |= (rows[r][from >> 6] >> (from & 63) & columns) << (16 * r);
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

    std::ptrdiff_t rowIndex(const BandGroup& group) const {
        return static_cast<std::ptrdiff_t>(group.z) * volume_.grid.ny + group.y;
    }

    void addTotal(const BandGroup& group, int dy, int dz) {
        const Counts counts = countColumns(group, dy, dz, 0, volume_.grid.nx);
        total_.voxels += counts.voxels;
        total_.marked += counts.marked;
        for (int axis = 0; axis < 3; ++axis)
            total_.sums[axis] += counts.sums[axis];
    }

    /// All voxels of the grid.
    static Counts countGrid(const Grid& grid) {
        const std::uint64_t nx = static_cast<std::uint64_t>(grid.nx);
        const std::uint64_t ny = static_cast<std::uint64_t>(grid.ny);
        const std::uint64_t nz = static_cast<std::uint64_t>(grid.nz);
        return {nx * ny * nz,
                0,
                {nx * (nx - 1) / 2 * ny * nz, ny * (ny - 1) / 2 * nx * nz,
                 nz * (nz - 1) / 2 * nx * ny}};
    }

    void add(Run label, const Counts& counts) {
        Record& record = writing_.records[label];
        record.numVoxels += static_cast<std::uint32_t>(counts.voxels);
        if (volume_.field)
            record.mark = static_cast<std::uint32_t>(counts.marked);
        else
            record.mark += static_cast<std::uint32_t>(counts.marked);
        for (int axis = 0; axis < 3; ++axis) {
            const std::uint64_t sum = record.sums[axis] + counts.sums[axis];
            record.sums[axis] = static_cast<std::uint32_t>(sum);
            if (sum >> 32)
                carryOf(label).high[axis] += static_cast<std::uint32_t>(sum >> 32);
        }
    }

    /// The entry of a component in the table of carries.
    Carry& carryOf(Run label) {
        Run i = label & (writing_.numCarries - 1);
        while (writing_.carries[i].label != label && writing_.carries[i].label != 0)
            i = (i + 1) & (writing_.numCarries - 1);
        writing_.carries[i].label = label;
        return writing_.carries[i];
    }

    static std::uint32_t floatBits(std::uint64_t sum) {
        const float value = static_cast<float>(static_cast<std::int64_t>(sum));
        std::uint32_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        return bits;
    }

    const Volume& volume_;
    const Writing& writing_;
    /// Label of the dominant component; 0 until it is known.
    Run dominant_ = 0;
    Counts total_ = {};
};

}  // namespace
}  // namespace components
