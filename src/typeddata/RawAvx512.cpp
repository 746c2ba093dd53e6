// The raw data loops on vectors of 512 bits. This unit is compiled for processors with AVX-512 (its
// F, BW, DQ and VL parts), so nothing in it may be shared with others: all is in anonymous
// namespaces, and no inline function or template of other headers is used.
#include "typeddata/RawKernels.h"

#if defined(__AVX512F__) && defined(__AVX512BW__) && defined(__AVX512DQ__) && defined(__AVX512VL__)

#include <immintrin.h>

namespace rawdata {
namespace {

/// The operations of the instruction set, by what they are for. Packing works on each quarter of a
/// vector of its own; what it returns is brought into order.
struct Isa {
    using Int = __m512i;
    using Float = __m512;
    using Double = __m512d;
    static constexpr std::size_t kLanes = 16;  ///< Of 32 bits.

    static Int load(const void* p) { return _mm512_loadu_si512(p); }
    static void store(void* p, Int v) { _mm512_storeu_si512(p, v); }
    static void streamTo(void* p, Int v) { _mm512_stream_si512(static_cast<Int*>(p), v); }
    static Float loadFloats(const void* p) { return _mm512_loadu_ps(p); }
    static void storeFloats(void* p, Float v) { _mm512_storeu_ps(p, v); }
    static Double loadDoubles(const void* p) { return _mm512_loadu_pd(p); }
    static void storeDoubles(void* p, Double v) { _mm512_storeu_pd(p, v); }

    // Sixteen elements of 8 or 16 bits, as integers of 32.
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
    static Int atMost255(Int a) { return _mm512_min_epu16(a, _mm512_set1_epi16(255)); }
    static Int positivePart(Int a) { return _mm512_max_epi16(a, _mm512_setzero_si512()); }

    static Float toFloats(Int a) { return _mm512_cvtepi32_ps(a); }
    static Float toFloats(Double a, Double b) {
        return _mm512_insertf32x8(_mm512_castps256_ps512(_mm512_cvtpd_ps(a)), _mm512_cvtpd_ps(b),
                                  1);
    }
    static Double floatsToDoubles(const void* p) {
        return _mm512_cvtps_pd(_mm256_loadu_ps(static_cast<const float*>(p)));
    }
    static void toDoubles(Int a, Double& low, Double& high) {
        low = _mm512_cvtepi32_pd(_mm512_castsi512_si256(a));
        high = _mm512_cvtepi32_pd(_mm512_extracti64x4_epi64(a, 1));
    }

    static Float all(float a) { return _mm512_set1_ps(a); }
    static Double all(double a) { return _mm512_set1_pd(a); }
    static Float add(Float a, Float b) { return _mm512_add_ps(a, b); }
    static Double add(Double a, Double b) { return _mm512_add_pd(a, b); }
    static Float multiply(Float a, Float b) { return _mm512_mul_ps(a, b); }
    static Double multiply(Double a, Double b) { return _mm512_mul_pd(a, b); }

    // These keep NaN: the instructions return their second operand then.
    static Float atMost(Float a, float bound) { return _mm512_min_ps(all(bound), a); }
    static Double atMost(Double a, double bound) { return _mm512_min_pd(all(bound), a); }
    static Double atLeast(Double a, double bound) { return _mm512_max_pd(all(bound), a); }
    static Double nanToZero(Double a) {
        return _mm512_maskz_mov_pd(_mm512_cmp_pd_mask(a, a, _CMP_ORD_Q), a);
    }

    static Int truncate(Float a) { return _mm512_cvttps_epi32(a); }
    /// The same with 0 for NaN.
    static Int truncateNumber(Float a) {
        return _mm512_maskz_cvttps_epi32(_mm512_cmp_ps_mask(a, a, _CMP_ORD_Q), a);
    }
    static Int truncate(Double a, Double b) {
        return _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvttpd_epi32(a)),
                                  _mm512_cvttpd_epi32(b), 1);
    }
    /// What is too high becomes the largest int, what is too low `below`, NaN the smallest int.
    static Int truncateCut(Float a, std::int32_t below) {
        const __mmask16 high = _mm512_cmp_ps_mask(a, all(2147483648.0f), _CMP_GE_OQ);
        const Int cut =
            _mm512_mask_mov_epi32(_mm512_cvttps_epi32(a), high, _mm512_set1_epi32(INT32_MAX));
        if (below == INT32_MIN)
            return cut;
        const __mmask16 low = _mm512_cmp_ps_mask(a, all(-2147483648.0f), _CMP_LT_OQ);
        return _mm512_mask_mov_epi32(cut, low, _mm512_set1_epi32(below));
    }

    static Int both(Int a, Int b) { return _mm512_and_si512(a, b); }
    static bool isAll(Int mask) { return _mm512_movepi8_mask(mask) == ~0ull; }

    template <std::size_t size>
    static Int reverseBytes(Int a) {
        constexpr long long low = size == 2   ? 0x0607040502030001
                                  : size == 4 ? 0x0405060700010203
                                              : 0x0001020304050607;
        constexpr long long high = low + 0x0808080808080808;
        return _mm512_shuffle_epi8(a,
                                   _mm512_setr_epi64(low, high, low, high, low, high, low, high));
    }

private:
    static __m256i loadHalf(const void* p) {
        return _mm256_loadu_si256(static_cast<const __m256i*>(p));
    }
    static Int inOrder(Int packed) {
        return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), packed);
    }
};

/// A vector of elements of one type: the lesser and the larger of each two (the second where one is
/// NaN), and where they are equal.
template <class T>
struct VectorOf;

struct IntVector {
    using Vector = __m512i;
    static Vector load(const void* p) { return Isa::load(p); }
};

template <>
struct VectorOf<std::uint8_t> : IntVector {
    static Vector all(std::uint8_t a) { return _mm512_set1_epi8(static_cast<char>(a)); }
    static Vector lesser(Vector a, Vector b) { return _mm512_min_epu8(a, b); }
    static Vector larger(Vector a, Vector b) { return _mm512_max_epu8(a, b); }
    static Isa::Int equal(Vector a, Vector b) {
        return _mm512_movm_epi8(_mm512_cmpeq_epi8_mask(a, b));
    }
};

template <>
struct VectorOf<std::int16_t> : IntVector {
    static Vector all(std::int16_t a) { return _mm512_set1_epi16(a); }
    static Vector lesser(Vector a, Vector b) { return _mm512_min_epi16(a, b); }
    static Vector larger(Vector a, Vector b) { return _mm512_max_epi16(a, b); }
    static Isa::Int equal(Vector a, Vector b) {
        return _mm512_movm_epi16(_mm512_cmpeq_epi16_mask(a, b));
    }
};

template <>
struct VectorOf<std::uint16_t> : IntVector {
    static Vector all(std::uint16_t a) { return _mm512_set1_epi16(static_cast<std::int16_t>(a)); }
    static Vector lesser(Vector a, Vector b) { return _mm512_min_epu16(a, b); }
    static Vector larger(Vector a, Vector b) { return _mm512_max_epu16(a, b); }
    static Isa::Int equal(Vector a, Vector b) {
        return _mm512_movm_epi16(_mm512_cmpeq_epi16_mask(a, b));
    }
};

template <>
struct VectorOf<std::int32_t> : IntVector {
    static Vector all(std::int32_t a) { return _mm512_set1_epi32(a); }
    static Vector lesser(Vector a, Vector b) { return _mm512_min_epi32(a, b); }
    static Vector larger(Vector a, Vector b) { return _mm512_max_epi32(a, b); }
    static Isa::Int equal(Vector a, Vector b) {
        return _mm512_movm_epi32(_mm512_cmpeq_epi32_mask(a, b));
    }
};

template <>
struct VectorOf<float> {
    using Vector = __m512;
    static Vector load(const void* p) { return Isa::loadFloats(p); }
    static Vector all(float a) { return Isa::all(a); }
    static Vector lesser(Vector a, Vector b) { return _mm512_min_ps(a, b); }
    static Vector larger(Vector a, Vector b) { return _mm512_max_ps(a, b); }
    static Isa::Int equal(Vector a, Vector b) {
        return _mm512_movm_epi32(_mm512_cmp_ps_mask(a, b, _CMP_EQ_OQ));
    }
};

template <>
struct VectorOf<double> {
    using Vector = __m512d;
    static Vector load(const void* p) { return Isa::loadDoubles(p); }
    static Vector all(double a) { return Isa::all(a); }
    static Vector lesser(Vector a, Vector b) { return _mm512_min_pd(a, b); }
    static Vector larger(Vector a, Vector b) { return _mm512_max_pd(a, b); }
    static Isa::Int equal(Vector a, Vector b) {
        return _mm512_movm_epi64(_mm512_cmp_pd_mask(a, b, _CMP_EQ_OQ));
    }
};

#include "typeddata/RawVectors.inl"

void endStream() {
    _mm_sfence();
}

#include "typeddata/RawTable.inl"

constexpr Kernels kTable = tableOf(AllTypes());

}  // namespace

const Kernels* const kAvx512Kernels = &kTable;

}  // namespace rawdata

#else

const rawdata::Kernels* const rawdata::kAvx512Kernels = nullptr;

#endif
