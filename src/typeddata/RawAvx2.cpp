// The raw data loops on vectors of 256 bits. This unit is compiled for processors with AVX2, so
// nothing in it may be shared with others: all is in anonymous namespaces, and no inline function
// or template of other headers is used.
#include "typeddata/RawKernels.h"

#if defined(__AVX2__)

#include <immintrin.h>

namespace rawdata {
namespace {

/// What the instruction set does in its own way. Packing works on each half of a vector of its own;
/// what it returns is brought into order.
struct Isa {
    using Int = __m256i;
    using Float = __m256;
    using Double = __m256d;

    static void streamTo(void* p, Int v) { _mm256_stream_si256(static_cast<Int*>(p), v); }
    static bool isAll(Int mask) { return _mm256_movemask_epi8(mask) == -1; }

    // The second where one is NaN.
    static Float lesser(Float a, Float b) { return _mm256_min_ps(a, b); }
    static Float larger(Float a, Float b) { return _mm256_max_ps(a, b); }
    static Double lesser(Double a, Double b) { return _mm256_min_pd(a, b); }
    static Double larger(Double a, Double b) { return _mm256_max_pd(a, b); }

    // Elements of 8 or 16 bits as integers of 32, or of 16.
    static Int widenBytes(const void* p) {
        return _mm256_cvtepu8_epi32(_mm_loadl_epi64(static_cast<const __m128i*>(p)));
    }
    static Int widenUshorts(const void* p) { return _mm256_cvtepu16_epi32(loadHalf(p)); }
    static Int widenShorts(const void* p) { return _mm256_cvtepi16_epi32(loadHalf(p)); }
    static Int widenBytesToHalves(const void* p) { return _mm256_cvtepu8_epi16(loadHalf(p)); }

    // Integers of 32 bits, or of 16, cut to smaller ones.
    static Int packToShorts(Int a, Int b) { return inOrder(_mm256_packs_epi32(a, b)); }
    static Int packToUshorts(Int a, Int b) { return inOrder(_mm256_packus_epi32(a, b)); }
    static Int packToBytes(Int a, Int b, Int c, Int d) {
        const Int mixed = _mm256_packus_epi16(_mm256_packs_epi32(a, b), _mm256_packs_epi32(c, d));
        return _mm256_permutevar8x32_epi32(mixed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    }
    static Int packHalvesToBytes(Int a, Int b) { return inOrder(_mm256_packus_epi16(a, b)); }

    static Int truncate(Float a) { return _mm256_cvttps_epi32(a); }
    static Int truncate(Double a, Double b) {
        return _mm256_set_m128i(_mm256_cvttpd_epi32(b), _mm256_cvttpd_epi32(a));
    }
    static Float toFloats(Double a, Double b) {
        return _mm256_set_m128(_mm256_cvtpd_ps(b), _mm256_cvtpd_ps(a));
    }
    static Double floatsToDoubles(const void* p) {
        return _mm256_cvtps_pd(_mm_loadu_ps(static_cast<const float*>(p)));
    }
    static Double lowToDoubles(Int a) { return _mm256_cvtepi32_pd(_mm256_castsi256_si128(a)); }
    static Double highToDoubles(Int a) {
        return _mm256_cvtepi32_pd(_mm256_extracti128_si256(a, 1));
    }

private:
    static __m128i loadHalf(const void* p) {
        return _mm_loadu_si128(static_cast<const __m128i*>(p));
    }
    static Int inOrder(Int packed) {
        return _mm256_permute4x64_epi64(packed, _MM_SHUFFLE(3, 1, 2, 0));
    }
};

#include "typeddata/RawVectors.inl"

}  // namespace

const Kernels* const kAvx2Kernels = &kTable;

}  // namespace rawdata

#else

const rawdata::Kernels* const rawdata::kAvx2Kernels = nullptr;

#endif
