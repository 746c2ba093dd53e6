// The loops over bit words, written so that the compiler turns them into vectors; it makes them for
// several instruction sets and the loader picks the one that the processor has.
#include "imageproc/MaskKernels.h"

#include "core/WideTargets.h"

namespace maskstep {

namespace {

// What is inlined into the loops is compiled for their instruction set.
#define ZT_INLINE inline __attribute__((always_inline))

template <bool kErosion>
ZT_INLINE unsigned combine(unsigned a, unsigned b) {
    return kErosion ? a & b : a | b;
}

/// How the bits at a shift are put together: not at all; a whole word; of two words; or whichever
/// it is, with one shift more, since a word cannot be shifted by its whole length in one.
enum class Kind { kNone, kWhole, kSplit, kAny };

template <bool kErosion, Kind kKind>
ZT_INLINE unsigned combineShifted(unsigned word, const unsigned* other, int bits) {
    switch (kKind) {
        case Kind::kNone:
            return word;
        case Kind::kWhole:
            return combine<kErosion>(word, other[0]);
        case Kind::kSplit:
            return combine<kErosion>(word, other[0] >> bits | other[1] << (32 - bits));
        case Kind::kAny:
            break;
    }
    return combine<kErosion>(word, other[0] >> bits | other[1] << 1 << (31 - bits));
}

/// The rows above and below are of one kind, those before and behind of another.
template <bool kErosion, Kind kInSlice, Kind kBeside>
ZT_INLINE void rowsLoop(const unsigned* in, unsigned* __restrict out, std::ptrdiff_t count,
                        const Shift* shifts) {
    const unsigned* const a = in + shifts[0].words;
    const unsigned* const b = in + shifts[1].words;
    const unsigned* const c = in + shifts[2].words;
    const unsigned* const d = in + shifts[3].words;
    const int aBits = shifts[0].bits, bBits = shifts[1].bits;
    const int cBits = shifts[2].bits, dBits = shifts[3].bits;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        unsigned word = combineShifted<kErosion, kInSlice>(in[i], a + i, aBits);
        word = combineShifted<kErosion, kInSlice>(word, b + i, bBits);
        word = combineShifted<kErosion, kBeside>(word, c + i, cBits);
        out[i] = combineShifted<kErosion, kBeside>(word, d + i, dBits);
    }
}

template <bool kErosion>
ZT_INLINE void chooseRowsLoop(const unsigned* in, unsigned* out, std::ptrdiff_t count,
                              const Rows& beside) {
    const Shift* const shifts = beside.shifts;
    const auto areSplit = [shifts](int i) {
        return shifts[i].bits != 0 && shifts[i + 1].bits != 0;
    };
    const auto areWhole = [shifts](int i) {
        return shifts[i].bits == 0 && shifts[i + 1].bits == 0;
    };
    if (beside.wholeWords && !beside.hasSlices)
        rowsLoop<kErosion, Kind::kWhole, Kind::kNone>(in, out, count, shifts);
    else if (beside.wholeWords)
        rowsLoop<kErosion, Kind::kWhole, Kind::kWhole>(in, out, count, shifts);
    else if (!beside.hasSlices && areSplit(0))
        rowsLoop<kErosion, Kind::kSplit, Kind::kNone>(in, out, count, shifts);
    else if (!beside.hasSlices)
        rowsLoop<kErosion, Kind::kAny, Kind::kNone>(in, out, count, shifts);
    else if (areSplit(0) && areSplit(2))
        rowsLoop<kErosion, Kind::kSplit, Kind::kSplit>(in, out, count, shifts);
    else if (areSplit(0) && areWhole(2))
        rowsLoop<kErosion, Kind::kSplit, Kind::kWhole>(in, out, count, shifts);
    else
        rowsLoop<kErosion, Kind::kAny, Kind::kAny>(in, out, count, shifts);
}

template <bool kErosion>
ZT_INLINE unsigned alongLoop(const unsigned* rows, const unsigned* line, const unsigned* firsts,
                             const unsigned* lasts, const unsigned* in, unsigned* __restrict out,
                             std::ptrdiff_t count) {
    unsigned changed = 0;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const unsigned before = line[i] << 1 | line[i - 1] >> 31;
        const unsigned behind = line[i] >> 1 | line[i + 1] << 31;
        const unsigned word = kErosion ? rows[i] & (before | firsts[i]) & (behind | lasts[i])
                                       : rows[i] | (before & ~firsts[i]) | (behind & ~lasts[i]);
        changed |= word ^ in[i];
        out[i] = word;
    }
    return changed;
}

}  // namespace

ZT_WIDE void combineRows(Operation operation, const unsigned* in, unsigned* out,
                         std::ptrdiff_t count, const Rows& beside) {
    if (operation == Operation::kErosion)
        chooseRowsLoop<true>(in, out, count, beside);
    else
        chooseRowsLoop<false>(in, out, count, beside);
}

ZT_WIDE unsigned combineAlong(Operation operation, const unsigned* rows, const unsigned* line,
                              const unsigned* firsts, const unsigned* lasts, const unsigned* in,
                              unsigned* out, std::ptrdiff_t count) {
    return operation == Operation::kErosion
               ? alongLoop<true>(rows, line, firsts, lasts, in, out, count)
               : alongLoop<false>(rows, line, firsts, lasts, in, out, count);
}

}  // namespace maskstep
