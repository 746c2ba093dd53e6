// The raw data loops on vectors of 128 bits, which every processor of ours has.
#include "typeddata/RawKernels.h"

#if defined(__SSE2__)

#include <emmintrin.h>

namespace rawdata {
namespace {

/// The operations of the instruction set, by what they are for.
struct Isa {
    using Int = __m128i;
    using Float = __m128;
    using Double = __m128d;
    static constexpr std::size_t kLanes = 4;  ///< Of 32 bits.

    static Int load(const void* p) { return _mm_loadu_si128(static_cast<const Int*>(p)); }
    static void store(void* p, Int v) { _mm_storeu_si128(static_cast<Int*>(p), v); }
    static void streamTo(void* p, Int v) { _mm_stream_si128(static_cast<Int*>(p), v); }
    static Float loadFloats(const void* p) { return _mm_loadu_ps(static_cast<const float*>(p)); }
    static void storeFloats(void* p, Float v) { _mm_storeu_ps(static_cast<float*>(p), v); }
    static Double loadDoubles(const void* p) { return _mm_loadu_pd(static_cast<const double*>(p)); }
    static void storeDoubles(void* p, Double v) { _mm_storeu_pd(static_cast<double*>(p), v); }

    // Four elements of 8 or 16 bits, as integers of 32.
    static Int widenBytes(const void* p) {
        int bytes;
        __builtin_memcpy(&bytes, p, sizeof bytes);
        const Int zero = _mm_setzero_si128();
        return _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(bytes), zero), zero);
    }
    static Int widenUshorts(const void* p) {
        return _mm_unpacklo_epi16(_mm_loadl_epi64(static_cast<const Int*>(p)), _mm_setzero_si128());
    }
    static Int widenShorts(const void* p) {
        const Int value = _mm_loadl_epi64(static_cast<const Int*>(p));
        return _mm_srai_epi32(_mm_unpacklo_epi16(value, value), 16);
    }
    static Int widenBytesToHalves(const void* p) {
        return _mm_unpacklo_epi8(_mm_loadl_epi64(static_cast<const Int*>(p)), _mm_setzero_si128());
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
    static Int atMost255(Int a) { return _mm_sub_epi16(a, _mm_subs_epu16(a, _mm_set1_epi16(255))); }
    static Int positivePart(Int a) { return _mm_max_epi16(a, _mm_setzero_si128()); }

    static Float toFloats(Int a) { return _mm_cvtepi32_ps(a); }
    static Float toFloats(Double a, Double b) {
        return _mm_movelh_ps(_mm_cvtpd_ps(a), _mm_cvtpd_ps(b));
    }
    static Double floatsToDoubles(const void* p) {
        return _mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(static_cast<const Int*>(p))));
    }
    static void toDoubles(Int a, Double& low, Double& high) {
        low = _mm_cvtepi32_pd(a);
        high = _mm_cvtepi32_pd(_mm_unpackhi_epi64(a, a));
    }

    static Float all(float a) { return _mm_set1_ps(a); }
    static Double all(double a) { return _mm_set1_pd(a); }
    static Float add(Float a, Float b) { return _mm_add_ps(a, b); }
    static Double add(Double a, Double b) { return _mm_add_pd(a, b); }
    static Float multiply(Float a, Float b) { return _mm_mul_ps(a, b); }
    static Double multiply(Double a, Double b) { return _mm_mul_pd(a, b); }

    // These keep NaN: the instructions return their second operand then.
    static Float atMost(Float a, float bound) { return _mm_min_ps(all(bound), a); }
    static Double atMost(Double a, double bound) { return _mm_min_pd(all(bound), a); }
    static Double atLeast(Double a, double bound) { return _mm_max_pd(all(bound), a); }
    static Double nanToZero(Double a) { return _mm_and_pd(a, _mm_cmpord_pd(a, a)); }

    static Int truncate(Float a) { return _mm_cvttps_epi32(a); }
    /// The same with 0 for NaN.
    static Int truncateNumber(Float a) {
        return _mm_cvttps_epi32(_mm_and_ps(a, _mm_cmpord_ps(a, a)));
    }
    static Int truncate(Double a, Double b) {
        return _mm_unpacklo_epi64(_mm_cvttpd_epi32(a), _mm_cvttpd_epi32(b));
    }
    /// What is too high becomes the largest int, what is too low `below`, NaN the smallest int.
    static Int truncateCut(Float a, std::int32_t below) {
        const Int high = _mm_castps_si128(_mm_cmpge_ps(a, all(2147483648.0f)));
        const Int low = _mm_castps_si128(_mm_cmplt_ps(a, all(-2147483648.0f)));
        const Int cut = _mm_xor_si128(_mm_cvttps_epi32(a), high);
        return _mm_or_si128(cut, _mm_and_si128(low, _mm_set1_epi32(below)));
    }

    static Int both(Int a, Int b) { return _mm_and_si128(a, b); }
    static bool isAll(Int mask) { return _mm_movemask_epi8(mask) == 0xffff; }

    template <std::size_t size>
    static Int reverseBytes(Int a) {
        a = _mm_or_si128(_mm_slli_epi16(a, 8), _mm_srli_epi16(a, 8));
        if constexpr (size == 2)
            return a;
        constexpr int order = size == 4 ? _MM_SHUFFLE(2, 3, 0, 1) : _MM_SHUFFLE(0, 1, 2, 3);
        return _mm_shufflehi_epi16(_mm_shufflelo_epi16(a, order), order);
    }
};

/// A vector of elements of one type: the lesser and the larger of each two (the second where one is
/// NaN), and where they are equal.
template <class T>
struct VectorOf;

struct IntVector {
    using Vector = __m128i;
    static Vector load(const void* p) { return Isa::load(p); }
};

template <>
struct VectorOf<std::uint8_t> : IntVector {
    static Vector all(std::uint8_t a) { return _mm_set1_epi8(static_cast<char>(a)); }
    static Vector lesser(Vector a, Vector b) { return _mm_min_epu8(a, b); }
    static Vector larger(Vector a, Vector b) { return _mm_max_epu8(a, b); }
    static Isa::Int equal(Vector a, Vector b) { return _mm_cmpeq_epi8(a, b); }
};

template <>
struct VectorOf<std::int16_t> : IntVector {
    static Vector all(std::int16_t a) { return _mm_set1_epi16(a); }
    static Vector lesser(Vector a, Vector b) { return _mm_min_epi16(a, b); }
    static Vector larger(Vector a, Vector b) { return _mm_max_epi16(a, b); }
    static Isa::Int equal(Vector a, Vector b) { return _mm_cmpeq_epi16(a, b); }
};

template <>
struct VectorOf<std::uint16_t> : IntVector {
    static Vector all(std::uint16_t a) { return _mm_set1_epi16(static_cast<std::int16_t>(a)); }
    static Vector lesser(Vector a, Vector b) { return _mm_sub_epi16(a, _mm_subs_epu16(a, b)); }
    static Vector larger(Vector a, Vector b) { return _mm_add_epi16(b, _mm_subs_epu16(a, b)); }
    static Isa::Int equal(Vector a, Vector b) { return _mm_cmpeq_epi16(a, b); }
};

template <>
struct VectorOf<std::int32_t> : IntVector {
    static Vector all(std::int32_t a) { return _mm_set1_epi32(a); }
    static Vector lesser(Vector a, Vector b) { return choose(_mm_cmpgt_epi32(b, a), a, b); }
    static Vector larger(Vector a, Vector b) { return choose(_mm_cmpgt_epi32(a, b), a, b); }
    static Isa::Int equal(Vector a, Vector b) { return _mm_cmpeq_epi32(a, b); }

private:
    static Vector choose(Vector mask, Vector a, Vector b) {
        return _mm_xor_si128(b, _mm_and_si128(mask, _mm_xor_si128(a, b)));
    }
};

template <>
struct VectorOf<float> {
    using Vector = __m128;
    static Vector load(const void* p) { return Isa::loadFloats(p); }
    static Vector all(float a) { return Isa::all(a); }
    static Vector lesser(Vector a, Vector b) { return _mm_min_ps(a, b); }
    static Vector larger(Vector a, Vector b) { return _mm_max_ps(a, b); }
    static Isa::Int equal(Vector a, Vector b) { return _mm_castps_si128(_mm_cmpeq_ps(a, b)); }
};

template <>
struct VectorOf<double> {
    using Vector = __m128d;
    static Vector load(const void* p) { return Isa::loadDoubles(p); }
    static Vector all(double a) { return Isa::all(a); }
    static Vector lesser(Vector a, Vector b) { return _mm_min_pd(a, b); }
    static Vector larger(Vector a, Vector b) { return _mm_max_pd(a, b); }
    static Isa::Int equal(Vector a, Vector b) { return _mm_castpd_si128(_mm_cmpeq_pd(a, b)); }
};

#include "typeddata/RawVectors.inl"

void endStream() {
    _mm_sfence();
}

#include "typeddata/RawTable.inl"

constexpr Kernels kTable = tableOf(AllTypes());

}  // namespace

const Kernels* const kSse2Kernels = &kTable;

}  // namespace rawdata

#else

const rawdata::Kernels* const rawdata::kSse2Kernels = nullptr;

#endif
