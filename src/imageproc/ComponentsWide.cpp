// The kernels for processors with AVX2, BMI2 and POPCNT. This unit is compiled for them, so nothing
// in it may be shared with others: all is in anonymous namespaces, and no inline function or
// template of other headers is used.
#include "imageproc/ComponentsKernels.h"

#if defined(__AVX2__) && defined(__BMI2__) && defined(__POPCNT__)

#include <immintrin.h>

#include <cstdint>
#include <cstring>

namespace components {
namespace {

/// For each choice of run starts among voxels 1 to 7 of a block of eight, which of eight labels in
/// a row each voxel takes.
struct Places {
    unsigned char of[128][8];
    constexpr Places() : of() {
        for (int starts = 0; starts < 128; ++starts)
            for (int i = 1; i < 8; ++i)
                of[starts][i] =
                    static_cast<unsigned char>(of[starts][i - 1] + (starts >> (i - 1) & 1));
    }
};

/// For each choice of foreground in a block of eight, 0xFF for each voxel that has it.
struct Kept {
    unsigned char of[256][8];
    constexpr Kept() : of() {
        for (int bits = 0; bits < 256; ++bits)
            for (int i = 0; i < 8; ++i)
                of[bits][i] = bits >> i & 1 ? 0xFF : 0;
    }
};

/// The two as byte shuffles of 16-bit labels, where 0x80 gives a zero; or-ed they are one shuffle.
struct Shuffles {
    alignas(16) unsigned char places[128][16];
    alignas(16) unsigned char blanks[256][16];
    constexpr Shuffles() : places(), blanks() {
        constexpr Places from;
        for (int starts = 0; starts < 128; ++starts)
            for (int i = 0; i < 16; ++i)
                places[starts][i] = static_cast<unsigned char>(2 * from.of[starts][i / 2] + i % 2);
        for (int bits = 0; bits < 256; ++bits)
            for (int i = 0; i < 16; ++i)
                blanks[bits][i] = bits >> (i / 2) & 1 ? 0 : 0x80;
    }
};

constexpr Places kPlaces;
constexpr Kept kKept;
constexpr Shuffles kShuffles;

inline __m256i load(const void* p) {
    return _mm256_loadu_si256(static_cast<const __m256i*>(p));
}

inline void store(void* p, __m256i value) {
    _mm256_storeu_si256(static_cast<__m256i*>(p), value);
}

inline Word bytesSet(__m256i bytes) {
    return static_cast<unsigned>(_mm256_movemask_epi8(bytes));
}

/// The operations that the kernels are built on; ComponentsPortable.cpp says what they do.
struct Ops {
    static int count(Word bits) { return static_cast<int>(_mm_popcnt_u64(bits)); }
    static int lowest(Word bits) { return static_cast<int>(_tzcnt_u64(bits)); }
    static Word deposit(Word bits, Word mask) { return _pdep_u64(bits, mask); }

    static Word atLeast(const std::uint8_t* p, std::uint8_t threshold) {
        const __m256i t = _mm256_set1_epi8(static_cast<char>(threshold));
        const auto test = [t](__m256i v) { return _mm256_cmpeq_epi8(_mm256_max_epu8(v, t), v); };
        return bytesSet(test(load(p))) | bytesSet(test(load(p + 32))) << 32;
    }

    static Word atLeast(const std::int16_t* p, std::int16_t threshold) {
        const __m256i t = _mm256_set1_epi16(threshold);
        return testShorts(p,
                          [t](__m256i v) { return _mm256_cmpeq_epi16(_mm256_max_epi16(v, t), v); });
    }

    static Word atLeast(const std::uint16_t* p, std::uint16_t threshold) {
        const __m256i t = _mm256_set1_epi16(static_cast<short>(threshold));
        return testShorts(p,
                          [t](__m256i v) { return _mm256_cmpeq_epi16(_mm256_max_epu16(v, t), v); });
    }

    static Word atLeast(const std::int32_t* p, std::int32_t threshold) {
        const __m256i t = _mm256_set1_epi32(threshold);
        Word below = 0;
        for (int i = 0; i < 64; i += 8)
            below |= signs(_mm256_cmpgt_epi32(t, load(p + i))) << i;
        return ~below;
    }

    static Word atLeast(const float* p, float threshold) {
        const __m256 t = _mm256_set1_ps(threshold);
        Word word = 0;
        for (int i = 0; i < 64; i += 8) {
            const __m256 test = _mm256_cmp_ps(_mm256_loadu_ps(p + i), t, _CMP_GE_OQ);
            word |= signs(_mm256_castps_si256(test)) << i;
        }
        return word;
    }

    static Word atLeast(const double* p, double threshold) {
        const __m256d t = _mm256_set1_pd(threshold);
        Word word = 0;
        for (int i = 0; i < 64; i += 4) {
            const __m256d test = _mm256_cmp_pd(_mm256_loadu_pd(p + i), t, _CMP_GE_OQ);
            word |= Word{static_cast<unsigned>(_mm256_movemask_pd(test))} << i;
        }
        return word;
    }

    static Word unequal(const unsigned char* p, const unsigned char* q, int count, int before) {
        if (count == 64)
            return unequal64(p, q);
        if (before + count >= 64)
            return unequal64(p + count - 64, q + count - 64) >> (64 - count);
        Word word = 0;
        for (int i = 0; i < count; ++i)
            word |= Word{p[i] != q[i]} << i;
        return word;
    }

    static void countUp(Run* out, Run first, Run count) {
        __m256i eight = _mm256_add_epi32(_mm256_set1_epi32(static_cast<int>(first)),
                                         _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
        for (Run i = 0; i < count; i += 8) {
            store(out + i, eight);
            eight = _mm256_add_epi32(eight, _mm256_set1_epi32(8));
        }
    }

    static bool selectUnequal(const Run* labels, int count, Run value, Word* bits) {
        const __m256i v = _mm256_set1_epi32(static_cast<int>(value));
        return select(labels, count, bits, 0xFF,
                      [v](__m256i eight) { return _mm256_cmpeq_epi32(eight, v); });
    }

    static bool selectFlagged(const Run* labels, int count, Word* bits) {
        return select(labels, count, bits, 0, [](__m256i eight) { return eight; });
    }

    static void narrow(const Run* labels, int count, std::uint16_t* out) {
        for (int i = 0; i < count; i += 8) {
            const __m256i eight = load(labels + i);
            const __m256i pairs = _mm256_permute4x64_epi64(_mm256_packus_epi32(eight, eight), 0x08);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm256_castsi256_si128(pairs));
        }
    }

    static void fill(std::uint16_t* out, std::uint16_t value, int blocks) {
        const __m256i v = _mm256_set1_epi16(static_cast<short>(value));
        int i = 0;
        for (; i + 1 < blocks; i += 2)
            store(out + 8 * i, v);
        if (i < blocks)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 8 * i), _mm256_castsi256_si128(v));
    }

    static void fill(std::uint32_t* out, std::uint32_t value, int blocks) {
        const __m256i v = _mm256_set1_epi32(static_cast<int>(value));
        for (int i = 0; i < blocks; ++i)
            store(out + 8 * i, v);
    }

    static void spread(std::uint16_t* out, Word bits, Word starts, const std::uint16_t* current,
                       int blocks) {
        for (int i = 0; i < blocks; ++i) {
            const std::uint16_t* const first = current + startedBy(starts, i);
            const __m128i labels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(first));
            const __m128i shuffle = _mm_or_si128(loadTable(kShuffles.places[later(starts, i)]),
                                                 loadTable(kShuffles.blanks[bits >> 8 * i & 255]));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 8 * i),
                             _mm_shuffle_epi8(labels, shuffle));
        }
    }

    static void spread(std::uint32_t* out, Word bits, Word starts, const std::uint32_t* current,
                       int blocks) {
        for (int i = 0; i < blocks; ++i) {
            const __m256i labels = load(current + startedBy(starts, i));
            const __m256i places = _mm256_cvtepu8_epi32(loadEight(kPlaces.of[later(starts, i)]));
            const __m256i kept = _mm256_cvtepi8_epi32(loadEight(kKept.of[bits >> 8 * i & 255]));
            store(out + 8 * i, _mm256_and_si256(_mm256_permutevar8x32_epi32(labels, places), kept));
        }
    }

private:
    /// How many runs start up to the first voxel of block i of a word, which ones start at its
    /// others.
    static int startedBy(Word starts, int i) { return count(starts & ((Word{2} << 8 * i) - 1)); }
    static Word later(Word starts, int i) { return starts >> (8 * i + 1) & 127; }

    static Word signs(__m256i eight) {
        return static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(eight)));
    }

    template <class T, class Test>
    static Word testShorts(const T* p, const Test& test) {
        const auto half = [&](const T* q) {
            const __m256i both = _mm256_packs_epi16(test(load(q)), test(load(q + 16)));
            return bytesSet(_mm256_permute4x64_epi64(both, 0xD8));
        };
        return half(p) | half(p + 32) << 32;
    }

    static Word unequal64(const unsigned char* p, const unsigned char* q) {
        return ~(bytesSet(_mm256_cmpeq_epi8(load(p), load(q))) |
                 bytesSet(_mm256_cmpeq_epi8(load(p + 32), load(q + 32))) << 32);
    }

    /// Writes the signs of `test`, inverted by `flip`, eight labels to a byte.
    template <class Test>
    static bool select(const Run* labels, int count, Word* bits, unsigned flip, const Test& test) {
        unsigned char* const bytes = reinterpret_cast<unsigned char*>(bits);
        unsigned some = 0;
        for (int i = 0; i < count; i += 8) {
            unsigned eight = static_cast<unsigned>(signs(test(load(labels + i)))) ^ flip;
            if (count - i < 8)
                eight &= (1u << (count - i)) - 1;
            bytes[i / 8] = static_cast<unsigned char>(eight);
            some |= eight;
        }
        return some != 0;
    }

    static __m128i loadTable(const unsigned char* row) {
        return _mm_load_si128(reinterpret_cast<const __m128i*>(row));
    }

    static __m128i loadEight(const unsigned char* row) {
        return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row));
    }
};

}  // namespace
}  // namespace components

#include "imageproc/ComponentsBits.inl"
#include "imageproc/ComponentsLabels.inl"
#include "imageproc/ComponentsLinks.inl"

namespace components {

namespace {
constexpr Kernels kKernels = {threshold, findStarts, countRuns, linkBytes, writeBytes, link, write};
}

const Kernels* const kWideKernels = &kKernels;

}  // namespace components

#else

namespace components {

const Kernels* const kWideKernels = nullptr;

}  // namespace components

#endif
