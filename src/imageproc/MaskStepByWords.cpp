// A step of erosion or dilation many voxels at a time.
//
// The mask is taken as one stream of bits. The neighbours in y and z are the same stream some bits
// further on or back; those in x come from the next bit, but for the ends of the rows, which are a
// pattern that repeats. Where a neighbouring row is missing, the row itself stands in for it, which
// changes nothing: so the first and the last rows of a slice are stretches of their own. A
// stretch's words that are not all its own, or whose neighbours are not all in memory, are done one
// by one.
#include "imageproc/MaskStep.h"

#include <algorithm>
#include <cstddef>

#include "imageproc/MaskKernels.h"

namespace maskstep {

namespace {

using Offset = long long;

class Step {
public:
    Step(const unsigned* in, unsigned* out, const Grid& grid, const RowEnds& ends,
         Operation operation, Reach reach, bool asAnyRows)
        : in_(in),
          out_(out),
          grid_(grid),
          operation_(operation),
          reach_(reach),
          row_(grid.nx),
          slice_(row_ * grid.ny),
          numWords_(slice_ * grid.nz / 32 + 1),
          wholeWords_(grid.nx % 32 == 0 && !asAnyRows),
          ends_(ends) {}

    bool run() {
        const bool isLong = ends_.areLong();
        for (int z = 0; z < grid_.nz; ++z) {
            const Offset before = z > 0 ? -slice_ : 0;
            const Offset behind = z + 1 < grid_.nz ? slice_ : 0;
            const auto rows = [&](int first, int last, Offset above, Offset below) {
                for (int y = first; y < last; y = isLong ? y + 1 : last)
                    stretch(slice_ * z + row_ * y, slice_ * z + row_ * (isLong ? y + 1 : last),
                            {above, below, before, behind});
            };
            const int ny = grid_.ny;
            rows(0, 1, 0, ny > 1 ? row_ : 0);
            rows(1, ny - 1, -row_, row_);
            rows(std::max(1, ny - 1), ny, -row_, 0);
        }
        return changed_ != 0;
    }

private:
    // The offsets of the rows beside a row; 0 stands for the row itself.
    struct Beside {
        Offset offsets[4];
    };

    // Does the voxels from bit `begin` to before `end`.
    void stretch(Offset begin, Offset end, const Beside& beside) {
        if (begin >= end)
            return;
        Offset least = 0, most = 0;
        for (const Offset offset : beside.offsets) {
            least = std::min(least, offset);
            most = std::max(most, offset);
        }
        // Corners take one word more of the neighbouring rows on each side.
        const Offset first = begin / 32, last = (end - 1) / 32 + 1;
        const bool endsAlone = ends_.areLong();
        Offset from = begin % 32 || endsAlone ? first + 1 : first;
        Offset to = end % 32 || endsAlone ? last - 1 : last;
        from = std::max(from, 1 - (least >> 5));
        to = std::min(to, numWords_ - 2 - (most >> 5));
        if (from >= to)
            from = to = last;
        for (Offset word = first; word < from; ++word)
            single(word, begin, end, beside);
        for (Offset word = from; word < to;) {
            const Offset count = std::min({to - word, ends_.stretchFrom(word), kBuffered});
            several(word, count, beside);
            word += count;
        }
        for (Offset word = to; word < last; ++word)
            single(word, begin, end, beside);
    }

    void several(Offset word, Offset count, const Beside& beside) {
        const Shift shifts[4] = {Shift(beside.offsets[0]), Shift(beside.offsets[1]),
                                 Shift(beside.offsets[2]), Shift(beside.offsets[3])};
        const Rows source = {shifts, grid_.nz > 1, wholeWords_};
        const auto length = static_cast<std::ptrdiff_t>(count);
        unsigned rows[kBuffered + 2];
        const unsigned* line = in_ + word;
        if (reach_ == Reach::kCorners) {
            combineRows(operation_, line - 1, rows, length + 2, source);
            line = rows + 1;
        } else {
            combineRows(operation_, line, rows + 1, length, source);
        }
        changed_ |= combineAlong(operation_, rows + 1, line, ends_.firsts(word), ends_.lasts(word),
                                 in_ + word, out_ + word, length);
    }

    // The part of a word that belongs to a stretch.
    void single(Offset word, Offset begin, Offset end, const Beside& beside) {
        const Offset bit = 32 * word;
        const bool corners = reach_ == Reach::kCorners;
        const unsigned here = bitsAt(bit);
        unsigned before = corners ? rowsAt(bit - 1, beside) : bitsAt(bit - 1);
        unsigned behind = corners ? rowsAt(bit + 1, beside) : bitsAt(bit + 1);
        unsigned result = rowsAt(bit, beside);
        const unsigned firsts = ends_.firstsOf(word), lasts = ends_.lastsOf(word);
        if (operation_ == Operation::kErosion)
            result &= (before | firsts) & (behind | lasts);
        else
            result |= (before & ~firsts) | (behind & ~lasts);
        unsigned own = ~0u;
        if (bit < begin)
            own &= ~0u << (begin - bit);
        if (bit + 32 > end)
            own &= ~0u >> (bit + 32 - end);
        changed_ |= (result ^ here) & own;
        out_[word] = (out_[word] & ~own) | (result & own);
    }

    unsigned rowsAt(Offset bit, const Beside& beside) const {
        unsigned result = bitsAt(bit);
        for (const Offset offset : beside.offsets) {
            const unsigned other = bitsAt(bit + offset);
            result = operation_ == Operation::kErosion ? result & other : result | other;
        }
        return result;
    }

    // 32 bits of the stream; any where there is no stream.
    unsigned bitsAt(Offset bit) const {
        const Offset word = bit >> 5;
        const int shift = static_cast<int>(bit & 31);
        return wordAt(word) >> shift | wordAt(word + 1) << 1 << (31 - shift);
    }

    unsigned wordAt(Offset word) const { return word >= 0 && word < numWords_ ? in_[word] : 0; }

    static constexpr Offset kBuffered = 1024;

    const unsigned* in_;
    unsigned* out_;
    const Grid& grid_;
    Operation operation_;
    Reach reach_;
    Offset row_, slice_;
    Offset numWords_;
    bool wholeWords_;
    const RowEnds& ends_;
    unsigned changed_ = 0;
};

}  // namespace

bool stepByWords(const unsigned* in, unsigned* out, const Grid& grid, const RowEnds& ends,
                 Operation operation, Reach reach, bool asAnyRows) {
    return Step(in, out, grid, ends, operation, reach, asAnyRows).run();
}

}  // namespace maskstep
