// The raw data loops on vectors of 128 bits, which every processor of ours has.
#include "typeddata/RawKernels.h"

#if defined(__SSE2__)

#include <emmintrin.h>

#include <cstdint>

namespace rawdata {
namespace {

/// What the instruction set does in its own way.
struct Isa {
    using Int = __m128i;
    using Float = __m128;
    using Double = __m128d;

    static void streamTo(void* p, Int v) { _mm_stream_si128(static_cast<Int*>(p), v); }
    static bool isAll(Int mask) { return _mm_movemask_epi8(mask) == 0xffff; }

    // The second where one is NaN.
    static Float lesser(Float a, Float b) { return _mm_min_ps(a, b); }
    static Float larger(Float a, Float b) { return _mm_max_ps(a, b); }
    static Double lesser(Double a, Double b) { return _mm_min_pd(a, b); }
    static Double larger(Double a, Double b) { return _mm_max_pd(a, b); }

    // Elements of 8 or 16 bits as integers of 32, or of 16.
    static Int widenBytes(const void* p) {
        int bytes;
        __builtin_memcpy(&bytes, p, sizeof bytes);
        const Int zero = _mm_setzero_si128();
        return _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(bytes), zero), zero);
    }
    static Int widenUshorts(const void* p) {
        return _mm_unpacklo_epi16(loadHalf(p), _mm_setzero_si128());
    }
    static Int widenShorts(const void* p) {
        return _mm_srai_epi32(_mm_unpacklo_epi16(loadHalf(p), loadHalf(p)), 16);
    }
    static Int widenBytesToHalves(const void* p) {
        return _mm_unpacklo_epi8(loadHalf(p), _mm_setzero_si128());
    }

    // Integers of 32 bits, or of 16, cut to smaller ones.
    static Int packToShorts(Int a, Int b) { return _mm_packs_epi32(a, b); }
    static Int packToUshorts(Int a, Int b) {
        const Int half = _mm_set1_epi32(0x8000);
        a = _mm_sub_epi32(_mm_andnot_si128(_mm_srai_epi32(a, 31), a), half);
        b = _mm_sub_epi32(_mm_andnot_si128(_mm_srai_epi32(b, 31), b), half);
        return _mm_xor_si128(_mm_packs_epi32(a, b), _mm_set1_epi16(INT16_MIN));
    }
    static Int packToBytes(Int a, Int b, Int c, Int d) {
        return _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
    }
    static Int packHalvesToBytes(Int a, Int b) { return _mm_packus_epi16(a, b); }

    static Int truncate(Float a) { return _mm_cvttps_epi32(a); }
    static Int truncate(Double a, Double b) {
        return _mm_unpacklo_epi64(_mm_cvttpd_epi32(a), _mm_cvttpd_epi32(b));
    }
    static Float toFloats(Double a, Double b) {
        return _mm_movelh_ps(_mm_cvtpd_ps(a), _mm_cvtpd_ps(b));
    }
    static Double floatsToDoubles(const void* p) {
        return _mm_cvtps_pd(_mm_castsi128_ps(loadHalf(p)));
    }
    static Double lowToDoubles(Int a) { return _mm_cvtepi32_pd(a); }
    static Double highToDoubles(Int a) { return _mm_cvtepi32_pd(_mm_unpackhi_epi64(a, a)); }

private:
    static Int loadHalf(const void* p) { return _mm_loadl_epi64(static_cast<const Int*>(p)); }
};

#include "typeddata/RawVectors.inl"

}  // namespace

const Kernels* const kSse2Kernels = &kTable;

}  // namespace rawdata

#else

const rawdata::Kernels* const rawdata::kSse2Kernels = nullptr;

#endif
