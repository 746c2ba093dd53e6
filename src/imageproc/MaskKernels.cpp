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

template <bool kAligned>
ZT_INLINE unsigned at(const unsigned* word, int bits) {
    // In two shifts, since a word cannot be shifted by its whole length in one.
    return kAligned ? word[0] : word[0] >> bits | word[1] << 1 << (31 - bits);
}

template <bool kErosion, bool kAligned, int kShifts>
ZT_INLINE void rowsLoop(const unsigned* in, unsigned* __restrict out, std::ptrdiff_t count,
                        const Shift* shifts) {
    const unsigned* const a = in + shifts[0].words;
    const unsigned* const b = in + shifts[1].words;
    const unsigned* const c = kShifts == 4 ? in + shifts[2].words : in;
    const unsigned* const d = kShifts == 4 ? in + shifts[3].words : in;
    const int aBits = shifts[0].bits, bBits = shifts[1].bits;
    const int cBits = kShifts == 4 ? shifts[2].bits : 0;
    const int dBits = kShifts == 4 ? shifts[3].bits : 0;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        unsigned word = combine<kErosion>(in[i], at<kAligned>(a + i, aBits));
        word = combine<kErosion>(word, at<kAligned>(b + i, bBits));
        if (kShifts == 4) {
            word = combine<kErosion>(word, at<kAligned>(c + i, cBits));
            word = combine<kErosion>(word, at<kAligned>(d + i, dBits));
        }
        out[i] = word;
    }
}

template <bool kErosion>
ZT_INLINE void chooseRowsLoop(const unsigned* in, unsigned* out, std::ptrdiff_t count,
                              const Rows& beside) {
    const Shift* const shifts = beside.shifts;
    if (beside.numShifts == 4)
        beside.wholeWords ? rowsLoop<kErosion, true, 4>(in, out, count, shifts)
                          : rowsLoop<kErosion, false, 4>(in, out, count, shifts);
    else
        beside.wholeWords ? rowsLoop<kErosion, true, 2>(in, out, count, shifts)
                          : rowsLoop<kErosion, false, 2>(in, out, count, shifts);
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
