// The raw data loops on vectors of 256 bits. This unit is compiled for processors with AVX2, so
// nothing in it may be shared with others: all is in anonymous namespaces, and no inline function
// or template of other headers is used.
#include "typeddata/RawKernels.h"

#if defined(__AVX2__)

#include <immintrin.h>

namespace rawdata {
namespace {

/// The operations of the instruction set, by what they are for. Packing works on each half of a
/// vector of its own; what it returns is brought into order.
struct Isa {
    using Int = __m256i;
    using Float = __m256;
    using Double = __m256d;
    static constexpr std::size_t kLanes = 8;  ///< Of 32 bits.

    static Int load(const void* p) { return _mm256_loadu_si256(static_cast<const Int*>(p)); }
    static void store(void* p, Int v) { _mm256_storeu_si256(static_cast<Int*>(p), v); }
    static void streamTo(void* p, Int v) { _mm256_stream_si256(static_cast<Int*>(p), v); }
    static Float loadFloats(const void* p) { return _mm256_loadu_ps(static_cast<const float*>(p)); }
    static void storeFloats(void* p, Float v) { _mm256_storeu_ps(static_cast<float*>(p), v); }
    static Double loadDoubles(const void* p) {
        return _mm256_loadu_pd(static_cast<const double*>(p));
    }
    static void storeDoubles(void* p, Double v) { _mm256_storeu_pd(static_cast<double*>(p), v); }

    // Eight elements of 8 or 16 bits, as integers of 32.
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
    static Int atMost255(Int a) { return _mm256_min_epu16(a, _mm256_set1_epi16(255)); }
    static Int positivePart(Int a) { return _mm256_max_epi16(a, _mm256_setzero_si256()); }

    static Float toFloats(Int a) { return _mm256_cvtepi32_ps(a); }
    static Float toFloats(Double a, Double b) {
        return _mm256_set_m128(_mm256_cvtpd_ps(b), _mm256_cvtpd_ps(a));
    }
    static Double floatsToDoubles(const void* p) {
        return _mm256_cvtps_pd(_mm_loadu_ps(static_cast<const float*>(p)));
    }
    static void toDoubles(Int a, Double& low, Double& high) {
        low = _mm256_cvtepi32_pd(_mm256_castsi256_si128(a));
        high = _mm256_cvtepi32_pd(_mm256_extracti128_si256(a, 1));
    }

    static Float all(float a) { return _mm256_set1_ps(a); }
    static Double all(double a) { return _mm256_set1_pd(a); }
    static Float add(Float a, Float b) { return _mm256_add_ps(a, b); }
    static Double add(Double a, Double b) { return _mm256_add_pd(a, b); }
    static Float multiply(Float a, Float b) { return _mm256_mul_ps(a, b); }
    static Double multiply(Double a, Double b) { return _mm256_mul_pd(a, b); }

    // These keep NaN: the instructions return their second operand then.
    static Float atMost(Float a, float bound) { return _mm256_min_ps(all(bound), a); }
    static Double atMost(Double a, double bound) { return _mm256_min_pd(all(bound), a); }
    static Double atLeast(Double a, double bound) { return _mm256_max_pd(all(bound), a); }
    static Double nanToZero(Double a) { return _mm256_and_pd(a, _mm256_cmp_pd(a, a, _CMP_ORD_Q)); }

    static Int truncate(Float a) { return _mm256_cvttps_epi32(a); }
    /// The same with 0 for NaN.
    static Int truncateNumber(Float a) {
        return _mm256_cvttps_epi32(_mm256_and_ps(a, _mm256_cmp_ps(a, a, _CMP_ORD_Q)));
    }
    static Int truncate(Double a, Double b) {
        return _mm256_set_m128i(_mm256_cvttpd_epi32(b), _mm256_cvttpd_epi32(a));
    }
    /// What is too high becomes the largest int, what is too low `below`, NaN the smallest int.
    static Int truncateCut(Float a, std::int32_t below) {
        const Int high = _mm256_castps_si256(_mm256_cmp_ps(a, all(2147483648.0f), _CMP_GE_OQ));
        const Int low = _mm256_castps_si256(_mm256_cmp_ps(a, all(-2147483648.0f), _CMP_LT_OQ));
        const Int cut = _mm256_xor_si256(_mm256_cvttps_epi32(a), high);
        return _mm256_or_si256(cut, _mm256_and_si256(low, _mm256_set1_epi32(below)));
    }

    static Int both(Int a, Int b) { return _mm256_and_si256(a, b); }
    static bool isAll(Int mask) { return _mm256_movemask_epi8(mask) == -1; }

    template <std::size_t size>
    static Int reverseBytes(Int a) {
        constexpr long long low = size == 2   ? 0x0607040502030001
                                  : size == 4 ? 0x0405060700010203
                                              : 0x0001020304050607;
        constexpr long long high = low + 0x0808080808080808;
        return _mm256_shuffle_epi8(a, _mm256_setr_epi64x(low, high, low, high));
    }

private:
    static __m128i loadHalf(const void* p) {
        return _mm_loadu_si128(static_cast<const __m128i*>(p));
    }
    static Int inOrder(Int packed) {
        return _mm256_permute4x64_epi64(packed, _MM_SHUFFLE(3, 1, 2, 0));
    }
};

/// A vector of elements of one type: the lesser and the larger of each two (the second where one is
/// NaN), and where they are equal.
template <class T>
struct VectorOf;

struct IntVector {
    using Vector = __m256i;
    static Vector load(const void* p) { return Isa::load(p); }
};

template <>
struct VectorOf<std::uint8_t> : IntVector {
    static Vector all(std::uint8_t a) { return _mm256_set1_epi8(static_cast<char>(a)); }
    static Vector lesser(Vector a, Vector b) { return _mm256_min_epu8(a, b); }
    static Vector larger(Vector a, Vector b) { return _mm256_max_epu8(a, b); }
    static Isa::Int equal(Vector a, Vector b) { return _mm256_cmpeq_epi8(a, b); }
};

template <>
struct VectorOf<std::int16_t> : IntVector {
    static Vector all(std::int16_t a) { return _mm256_set1_epi16(a); }
    static Vector lesser(Vector a, Vector b) { return _mm256_min_epi16(a, b); }
    static Vector larger(Vector a, Vector b) { return _mm256_max_epi16(a, b); }
    static Isa::Int equal(Vector a, Vector b) { return _mm256_cmpeq_epi16(a, b); }
};

template <>
struct VectorOf<std::uint16_t> : IntVector {
    static Vector all(std::uint16_t a) { return _mm256_set1_epi16(static_cast<std::int16_t>(a)); }
    static Vector lesser(Vector a, Vector b) { return _mm256_min_epu16(a, b); }
    static Vector larger(Vector a, Vector b) { return _mm256_max_epu16(a, b); }
    static Isa::Int equal(Vector a, Vector b) { return _mm256_cmpeq_epi16(a, b); }
};

template <>
struct VectorOf<std::int32_t> : IntVector {
    static Vector all(std::int32_t a) { return _mm256_set1_epi32(a); }
    static Vector lesser(Vector a, Vector b) { return _mm256_min_epi32(a, b); }
    static Vector larger(Vector a, Vector b) { return _mm256_max_epi32(a, b); }
    static Isa::Int equal(Vector a, Vector b) { return _mm256_cmpeq_epi32(a, b); }
};

template <>
struct VectorOf<float> {
    using Vector = __m256;
    static Vector load(const void* p) { return Isa::loadFloats(p); }
    static Vector all(float a) { return Isa::all(a); }
    static Vector lesser(Vector a, Vector b) { return _mm256_min_ps(a, b); }
    static Vector larger(Vector a, Vector b) { return _mm256_max_ps(a, b); }
    static Isa::Int equal(Vector a, Vector b) {
        return _mm256_castps_si256(_mm256_cmp_ps(a, b, _CMP_EQ_OQ));
    }
};

template <>
struct VectorOf<double> {
    using Vector = __m256d;
    static Vector load(const void* p) { return Isa::loadDoubles(p); }
    static Vector all(double a) { return Isa::all(a); }
    static Vector lesser(Vector a, Vector b) { return _mm256_min_pd(a, b); }
    static Vector larger(Vector a, Vector b) { return _mm256_max_pd(a, b); }
    static Isa::Int equal(Vector a, Vector b) {
        return _mm256_castpd_si256(_mm256_cmp_pd(a, b, _CMP_EQ_OQ));
    }
};

#include "typeddata/RawVectors.inl"

void endStream() {
    _mm_sfence();
}

#include "typeddata/RawTable.inl"

constexpr Kernels kTable = tableOf(AllTypes());

}  // namespace

const Kernels* const kAvx2Kernels = &kTable;

}  // namespace rawdata

#else

const rawdata::Kernels* const rawdata::kAvx2Kernels = nullptr;

#endif
