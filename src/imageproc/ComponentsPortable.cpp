// The kernels in plain C++.
#include <cstdint>
#include <cstring>

#include "imageproc/ComponentsKernels.h"

namespace components {
namespace {

/// The operations that the kernels are built on.
struct Ops {
    static int count(Word bits) {
        bits -= bits >> 1 & 0x5555555555555555;
        bits = (bits & 0x3333333333333333) + (bits >> 2 & 0x3333333333333333);
        bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F;
        return static_cast<int>(bits * 0x0101010101010101 >> 56);
    }

    /// The position of the lowest set bit.
    static int lowest(Word bits) { return __builtin_ctzll(bits); }

    /// Puts the lowest bits of `bits` into the places of the set bits of `mask`.
    static Word deposit(Word bits, Word mask) {
        Word result = 0;
        for (; mask && bits; mask &= mask - 1, bits >>= 1)
            if (bits & 1)
                result |= mask & (~mask + 1);
        return result;
    }

    /// Which of 64 elements are at or above a threshold.
    template <class T>
    static Word atLeast(const T* p, T threshold) {
        unsigned char bytes[64];
        for (int i = 0; i < 64; ++i)
            bytes[i] = p[i] >= threshold;
        return pack(bytes);
    }

    /// Which of `count` bytes differ; `before` bytes before them may be read.
    static Word unequal(const unsigned char* p, const unsigned char* q, int count, int) {
        unsigned char bytes[64] = {};
        for (int i = 0; i < count; ++i)
            bytes[i] = p[i] != q[i];
        return pack(bytes);
    }

    /// Gathers 64 bytes of 0 or 1 into bits.
    static Word pack(const unsigned char* bytes) {
        Word word = 0;
        for (int i = 0; i < 64; i += 8) {
            Word eight = 0;
            for (int k = 0; k < 8; ++k)
                eight |= Word{bytes[i + k]} << (8 * k);
            word |= (eight * 0x0102040810204080 >> 56) << i;
        }
        return word;
    }

    /// Writes first, first + 1, ...; may write up to kPadding entries beyond.
    static void countUp(Run* out, Run first, Run count) {
        for (Run i = 0; i < count; ++i)
            out[i] = first + i;
    }

    /// Sets a bit in `bits` for each label that is not `value`; returns whether there are any.
    static bool selectUnequal(const Run* labels, int count, Run value, Word* bits) {
        return select(count, bits, [&](int i) { return labels[i] != value; });
    }

    /// The same for each label with the highest bit set.
    static bool selectFlagged(const Run* labels, int count, Word* bits) {
        return select(count, bits, [&](int i) { return labels[i] >> 31 != 0; });
    }

    template <class Predicate>
    static bool select(int count, Word* bits, const Predicate& predicate) {
        Word some = 0;
        for (int i = 0; i < count; i += 64) {
            Word word = 0;
            for (int k = 0; k < 64 && i + k < count; ++k)
                word |= Word{predicate(i + k)} << k;
            bits[i / 64] = word;
            some |= word;
        }
        return some != 0;
    }

    static void narrow(const Run* labels, int count, std::uint16_t* out) {
        for (int i = 0; i < count; ++i)
            out[i] = static_cast<std::uint16_t>(labels[i]);
    }

    /// Writes `value` into blocks of eight voxels.
    template <class Label>
    static void fill(Label* out, Label value, int blocks) {
        for (int i = 0; i < 8 * blocks; ++i)
            out[i] = value;
    }

    /// Writes the labels of a word's voxels: those of their runs where `bits` is set, else 0.
    /// `current` is the label of the last run before the word; those of the runs that start at the
    /// set bits of `starts` follow.
    template <class Label>
    static void spread(Label* out, Word bits, Word starts, const Label* current, int blocks) {
        for (int i = 0; i < 8 * blocks; ++i) {
            current += starts >> i & 1;
            out[i] = static_cast<Label>(bits >> i & 1 ? *current : 0);
        }
    }
};

}  // namespace
}  // namespace components

#include "imageproc/ComponentsBits.inl"
#include "imageproc/ComponentsLabels.inl"
#include "imageproc/ComponentsLinks.inl"

namespace components {

const Kernels kPortableKernels = {threshold,  findStarts, countRuns, linkBytes,
                                  writeBytes, link,       write};

}  // namespace components
