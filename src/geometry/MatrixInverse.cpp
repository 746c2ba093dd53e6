// Inverses: of affine transforms in closed form, of others by LU decomposition. The closed form
// comes twice, plain and on vectors of four doubles; both do the same operations in the same order
// on each element, so their results are the same to the last bit.
#include <ztlib/ZtMat4f.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "LuDecomposition.h"
#include "core/WideTargets.h"

#if defined(ZT_HAS_WIDE)
#include <immintrin.h>
#endif

namespace {

// Whether the last column is (0, 0, 0, 1), a zero of either sign. On the bits of the numbers, which
// costs one branch.
bool isAffine(const float (&m)[4][4]) {
    std::uint32_t bits[4];
    for (int i = 0; i < 4; ++i)
        std::memcpy(&bits[i], &m[i][3], sizeof bits[i]);
    constexpr std::uint32_t kOne = 0x3F800000;
    return ((bits[0] | bits[1] | bits[2]) << 1 | (bits[3] ^ kOne)) == 0;
}

// The determinant is the sum of six products, `magnitude` that of their magnitudes. What is not a
// number is not regular either.
bool isRegular(double determinant, double magnitude) {
    constexpr double kLeast = 1e-300;  // below all products of three floats, but above 0
    return std::abs(determinant) >= std::max(1e-15 * magnitude, kLeast);
}

// Column j of the inverse is the cross product of rows j + 1 and j + 2, divided by the determinant.
bool invertPlain(const float (&in)[4][4], float (&out)[4][4]) {
    double rows[4][3];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 3; ++j)
            rows[i][j] = in[i][j];
    double columns[3][3];
    double determinant = 0;
    double magnitude = 0;
    for (int j = 0; j < 3; ++j) {
        const auto& a = rows[(j + 1) % 3];
        const auto& b = rows[(j + 2) % 3];
        for (int i = 0; i < 3; ++i) {
            const double gained = a[(i + 1) % 3] * b[(i + 2) % 3];
            const double lost = a[(i + 2) % 3] * b[(i + 1) % 3];
            columns[j][i] = gained - lost;
            if (j == 0) {
                const double p = rows[0][i] * gained;
                const double n = rows[0][i] * lost;
                determinant += p - n;
                magnitude += std::abs(p) + std::abs(n);
            }
        }
    }
    if (!isRegular(determinant, magnitude))
        return false;
    const double reciprocal = 1 / determinant;
    for (int j = 0; j < 3; ++j) {
        const double x = columns[j][0] * reciprocal;
        const double y = columns[j][1] * reciprocal;
        const double z = columns[j][2] * reciprocal;
        out[0][j] = static_cast<float>(x);
        out[1][j] = static_cast<float>(y);
        out[2][j] = static_cast<float>(z);
        out[3][j] = static_cast<float>(0 - (rows[3][0] * x + rows[3][1] * y + rows[3][2] * z));
        out[j][3] = 0;
    }
    out[3][3] = 1;
    return true;
}

#if defined(ZT_HAS_WIDE)
// Instructions are chosen by name: their number is what this costs.
#define ZT_LANES(row, x, y, z) _mm256_permute4x64_pd(row, _MM_SHUFFLE(3, z, y, x))

struct Rows {
    __m256d x, y, z, t;
};

// The rows of the inverse; their last lanes mean nothing.
[[gnu::target("avx2"), gnu::always_inline]] inline bool invertedRows(const float (&in)[4][4],
                                                                     Rows& rows) {
    const __m256d a = _mm256_cvtps_pd(_mm_loadu_ps(in[0]));
    const __m256d b = _mm256_cvtps_pd(_mm_loadu_ps(in[1]));
    const __m256d c = _mm256_cvtps_pd(_mm_loadu_ps(in[2]));
    const __m256d t = _mm256_cvtps_pd(_mm_loadu_ps(in[3]));
    const __m256d aTurned = ZT_LANES(a, 1, 2, 0);
    const __m256d bTurned = ZT_LANES(b, 1, 2, 0);
    const __m256d cTurned = ZT_LANES(c, 1, 2, 0);

    // Cross products come in the order z, x, y.
    const __m256d gained = b * cTurned;
    const __m256d lost = bTurned * c;
    const __m256d factors = ZT_LANES(a, 2, 0, 1);
    const __m256d p = factors * gained;
    const __m256d n = factors * lost;
    const __m256d sign = _mm256_set1_pd(-0.0);
    const __m256d terms = p - n;
    const __m256d sizes = _mm256_andnot_pd(sign, p) + _mm256_andnot_pd(sign, n);
    // Both sums side by side.
    const __m256d zAndY = _mm256_unpacklo_pd(terms, sizes);
    const __m256d onlyX = _mm256_unpackhi_pd(terms, sizes);
    const __m128d sums = _mm256_castpd256_pd128(onlyX) + _mm256_extractf128_pd(zAndY, 1) +
                         _mm256_castpd256_pd128(zAndY);
    if (!isRegular(sums[0], sums[1]))
        return false;

    const __m256d reciprocal = _mm256_set1_pd(1 / sums[0]);
    const __m256d u = (gained - lost) * reciprocal;
    const __m256d v = (c * aTurned - cTurned * a) * reciprocal;
    const __m256d w = (a * bTurned - aTurned * b) * reciprocal;
    const __m256d low = _mm256_unpacklo_pd(u, v);
    const __m256d high = _mm256_unpackhi_pd(u, v);
    rows.x = _mm256_insertf128_pd(high, _mm_permute_pd(_mm256_castpd256_pd128(w), 3), 1);
    rows.y = _mm256_permute2f128_pd(low, w, 0x31);
    rows.z = _mm256_insertf128_pd(low, _mm256_castpd256_pd128(w), 1);
    rows.t = _mm256_setzero_pd() - (ZT_LANES(t, 0, 0, 0) * rows.x + ZT_LANES(t, 1, 1, 1) * rows.y +
                                    ZT_LANES(t, 2, 2, 2) * rows.z);
    return true;
}

[[gnu::target("avx2")]] bool invertWide(const float (&in)[4][4], float (&out)[4][4]) {
    Rows rows;
    if (!invertedRows(in, rows))
        return false;
    constexpr int kLast = 8;
    const __m128 none = _mm_setzero_ps();
    _mm_storeu_ps(out[0], _mm_blend_ps(_mm256_cvtpd_ps(rows.x), none, kLast));
    _mm_storeu_ps(out[1], _mm_blend_ps(_mm256_cvtpd_ps(rows.y), none, kLast));
    _mm_storeu_ps(out[2], _mm_blend_ps(_mm256_cvtpd_ps(rows.z), none, kLast));
    _mm_storeu_ps(out[3], _mm_blend_ps(_mm256_cvtpd_ps(rows.t), _mm_set1_ps(1), kLast));
    return true;
}

[[gnu::target("avx512f,avx512vl")]] bool invertMasked(const float (&in)[4][4], float (&out)[4][4]) {
    Rows rows;
    if (!invertedRows(in, rows))
        return false;
    constexpr __mmask8 kFirstThree = 7;
    _mm_storeu_ps(out[0], _mm256_maskz_cvtpd_ps(kFirstThree, rows.x));
    _mm_storeu_ps(out[1], _mm256_maskz_cvtpd_ps(kFirstThree, rows.y));
    _mm_storeu_ps(out[2], _mm256_maskz_cvtpd_ps(kFirstThree, rows.z));
    _mm_storeu_ps(out[3], _mm256_mask_cvtpd_ps(_mm_set1_ps(1), kFirstThree, rows.t));
    return true;
}
#undef ZT_LANES
#endif

bool invertAffine(const float (&in)[4][4], float (&out)[4][4]) {
    if (!isAffine(in))
        return false;
#if defined(ZT_HAS_WIDE)
    if (__builtin_cpu_supports("avx512vl"))
        return invertMasked(in, out);
    if (__builtin_cpu_supports("avx2"))
        return invertWide(in, out);
#endif
    return invertPlain(in, out);
}

// In double precision: a view's projection loses half of a float's digits. Where the decomposition
// fails `out` is `in`.
[[gnu::noinline]] void invertByFactors(const float (&in)[4][4], float (&out)[4][4]) {
    double factors[4][4];
    std::copy_n(&in[0][0], 16, &factors[0][0]);
    std::copy_n(&in[0][0], 16, &out[0][0]);
    int index[4];
    double parity;
    if (!luDecompose(factors, index, parity, 1e-20))
        return;
    for (int j = 0; j < 4; ++j) {
        double column[4] = {};
        column[j] = 1;
        luSolve(factors, index, column);
        for (int i = 0; i < 4; ++i)
            out[i][j] = static_cast<float>(column[i]);
    }
}

}  // namespace

int ZtMat4f::affine_inverse(const ZtMat4f& in, ZtMat4f& out) {
    return invertAffine(in.m_, out.m_) ? 1 : 0;
}

// The identity needs no case of its own: its affine inverse is exactly itself.
ZtMat4f ZtMat4f::inverse() const {
    ZtMat4f result;
    if (!invertAffine(m_, result.m_))
        invertByFactors(m_, result.m_);
    return result;
}
