// The raw data loops on vectors of 512 bits. This unit is compiled for processors with AVX-512 (its
// F, BW, DQ and VL parts), so nothing in it may be shared with others: all is in anonymous
// namespaces, and no inline function or template of other headers is used.
#include "typeddata/RawKernels.h"

#if defined(__AVX512F__) && defined(__AVX512BW__) && defined(__AVX512DQ__) && defined(__AVX512VL__)

#include <immintrin.h>

namespace rawdata {
namespace {

/// What the instruction set does in its own way. Packing works on each quarter of a vector of its
/// own; what it returns is brought into order.
struct Isa {
    using Int = __m512i;
    using Float = __m512;
    using Double = __m512d;

    static void streamTo(void* p, Int v) { _mm512_stream_si512(static_cast<Int*>(p), v); }
    static bool isAll(Int mask) { return _mm512_movepi8_mask(mask) == ~0ull; }

    // The second where one is NaN.
    static Float lesser(Float a, Float b) { return _mm512_min_ps(a, b); }
    static Float larger(Float a, Float b) { return _mm512_max_ps(a, b); }
    static Double lesser(Double a, Double b) { return _mm512_min_pd(a, b); }
    static Double larger(Double a, Double b) { return _mm512_max_pd(a, b); }

    // Elements of 8 or 16 bits as integers of 32, or of 16.
    static Int widenBytes(const void* p) {
        return _mm512_cvtepu8_epi32(_mm_loadu_si128(static_cast<const __m128i*>(p)));
    }
    static Int widenUshorts(const void* p) { return _mm512_cvtepu16_epi32(loadHalf(p)); }
    static Int widenShorts(const void* p) { return _mm512_cvtepi16_epi32(loadHalf(p)); }
    static Int widenBytesToHalves(const void* p) { return _mm512_cvtepu8_epi16(loadHalf(p)); }

    // Integers of 32 bits, or of 16, cut to smaller ones.
    static Int packToShorts(Int a, Int b) { return inOrder(_mm512_packs_epi32(a, b)); }
    static Int packToUshorts(Int a, Int b) { return inOrder(_mm512_packus_epi32(a, b)); }
    static Int packToBytes(Int a, Int b, Int c, Int d) {
        const Int mixed = _mm512_packus_epi16(_mm512_packs_epi32(a, b), _mm512_packs_epi32(c, d));
        return _mm512_permutexvar_epi32(
            _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15), mixed);
    }
    static Int packHalvesToBytes(Int a, Int b) { return inOrder(_mm512_packus_epi16(a, b)); }

    static Int truncate(Float a) { return _mm512_cvttps_epi32(a); }
    static Int truncate(Double a, Double b) {
        return _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvttpd_epi32(a)),
                                  _mm512_cvttpd_epi32(b), 1);
    }
    static Float toFloats(Double a, Double b) {
        return _mm512_insertf32x8(_mm512_castps256_ps512(_mm512_cvtpd_ps(a)), _mm512_cvtpd_ps(b),
                                  1);
    }
    static Double floatsToDoubles(const void* p) {
        return _mm512_cvtps_pd(_mm256_loadu_ps(static_cast<const float*>(p)));
    }
    static Double lowToDoubles(Int a) { return _mm512_cvtepi32_pd(_mm512_castsi512_si256(a)); }
    static Double highToDoubles(Int a) {
        return _mm512_cvtepi32_pd(_mm512_extracti64x4_epi64(a, 1));
    }

private:
    static __m256i loadHalf(const void* p) {
        return _mm256_loadu_si256(static_cast<const __m256i*>(p));
    }
    static Int inOrder(Int packed) {
        return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), packed);
    }
};

#include "typeddata/RawVectors.inl"

}  // namespace

const Kernels* const kAvx512Kernels = &kTable;

}  // namespace rawdata

#else

const rawdata::Kernels* const rawdata::kAvx512Kernels = nullptr;

#endif
