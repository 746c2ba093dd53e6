// The search in a set of characters, sixteen at a time where the processor can.
#include "core/CharSet.h"

#include <bit>

#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
#define ZT_HAS_SHUFFLE
#include <immintrin.h>
#endif

namespace {

const char* findPlainly(const unsigned* set, const char* p, const char* last) {
    while (p < last && !CharSet::contains(set, *p))
        ++p;
    return p;
}

#if defined(ZT_HAS_SHUFFLE)

// False until this file's constants are initialised; the plain form serves as well.
const bool kHasShuffle = (__builtin_cpu_init(), __builtin_cpu_supports("ssse3") != 0);

// A character's byte of the set is c / 8, its bit c % 8. The shuffle takes the low four bits of a
// place as the index in a table of sixteen bytes and gives 0 where the place's top bit is set.
// Raised by 0x70, the places of the set's second half have that bit; flipped, those of the first
// half do.
__attribute__((target("ssse3"))) const char* findByShuffle(const unsigned* set, const char* p,
                                                           const char* last) {
    const auto load = [](const void* from) __attribute__((target("ssse3"))) {
        return _mm_loadu_si128(static_cast<const __m128i*>(from));
    };
    const __m128i low = load(set);
    const __m128i high = load(set + CharSet::kWords / 2);
    const __m128i bits = _mm_set1_epi64x(static_cast<long long>(0x8040201008040201));
    const __m128i raise = _mm_set1_epi8(0x70);
    const __m128i top = _mm_set1_epi8(static_cast<char>(0x80));
    for (; last - p >= 16; p += 16) {
        const __m128i text = load(p);
        const __m128i byteOfText = _mm_and_si128(_mm_srli_epi16(text, 3), _mm_set1_epi8(0x1f));
        const __m128i place = _mm_add_epi8(byteOfText, raise);
        const __m128i byte = _mm_or_si128(_mm_shuffle_epi8(low, place),
                                          _mm_shuffle_epi8(high, _mm_xor_si128(place, top)));
        const __m128i bit = _mm_shuffle_epi8(bits, _mm_and_si128(text, _mm_set1_epi8(0x07)));
        const auto found =
            static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_and_si128(byte, bit), bit)));
        if (found != 0)
            return p + std::countr_zero(found);
    }
    return findPlainly(set, p, last);
}

#endif

}  // namespace

const char* CharSet::find(const unsigned* words, const char* p, const char* last) {
#if defined(ZT_HAS_SHUFFLE)
    if (kHasShuffle)
        return findByShuffle(words, p, last);
#endif
    return findPlainly(words, p, last);
}
