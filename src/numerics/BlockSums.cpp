// Sums over blocks of pairs: what does not depend on the sums is done side by side, the additions
// follow one after the other.
#include "numerics/BlockSums.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/WideTargets.h"

#if defined(ZT_HAS_WIDE)
#include <immintrin.h>
#endif

namespace numerics {

#if defined(ZT_HAS_WIDE)
namespace {

constexpr int kBlock = 8;
using Eight = float __attribute__((vector_size(32)));
using Places = int __attribute__((vector_size(32)));

// Handed over by reference: passing vectors by value differs between instruction sets.
struct Points {
    Eight x, y, z;
};

// Each component has other places in the three vectors that hold eight points, so it is brought
// together first and put in order then.
[[gnu::always_inline]] inline void load(const float* from, Points& points) {
    Eight a, b, c;
    std::memcpy(&a, from, sizeof a);
    std::memcpy(&b, from + kBlock, sizeof b);
    std::memcpy(&c, from + 2 * kBlock, sizeof c);
    const Eight ab = __builtin_shuffle(a, b, Places{0, 9, 2, 3, 12, 5, 6, 15});
    const Eight bc = __builtin_shuffle(b, c, Places{8, 1, 2, 11, 4, 5, 14, 7});
    const Eight ca = __builtin_shuffle(c, a, Places{0, 1, 10, 3, 4, 13, 6, 7});
    const Eight x = __builtin_shuffle(ab, c, Places{0, 1, 10, 3, 4, 13, 6, 7});
    const Eight y = __builtin_shuffle(bc, a, Places{0, 9, 2, 3, 12, 5, 6, 15});
    const Eight z = __builtin_shuffle(ca, b, Places{8, 1, 2, 11, 4, 5, 14, 7});
    points.x = __builtin_shuffle(x, Places{0, 3, 6, 1, 4, 7, 2, 5});
    points.y = __builtin_shuffle(y, Places{1, 4, 7, 2, 5, 0, 3, 6});
    points.z = __builtin_shuffle(z, Places{2, 5, 0, 3, 6, 1, 4, 7});
}

[[gnu::always_inline]] inline void subtract(const Four& centre, Points& points) {
    points.x -= centre[0];
    points.y -= centre[1];
    points.z -= centre[2];
}

// Four pairs of numbers into the first two lanes, one pair after the other.
[[gnu::always_inline]] inline void addInOrder(const Four& lower, const Four& upper, Four& both) {
    both += lower;
    both += _mm_movehl_ps(lower, lower);
    both += upper;
    both += _mm_movehl_ps(upper, upper);
}

// Points less their centroid, one after the other. A number behind the last may be read.
struct Centred {
    static constexpr int kPairs = 32;
    alignas(32) float numbers[3 * kPairs + 1];
};

[[gnu::always_inline]] inline void centre(const float* from, const Eight (&centres)[3],
                                          Centred& centred) {
    // So far ahead memory delivers at its full rate. Addresses beyond the array do no harm.
    const auto ahead = reinterpret_cast<std::uintptr_t>(from) + 2048;
    for (std::uintptr_t line = 0; line < sizeof(float) * 3 * Centred::kPairs; line += 64)
        __builtin_prefetch(reinterpret_cast<const void*>(ahead + line));
    for (int i = 0; i < 3 * Centred::kPairs; i += 3 * kBlock) {
        for (int j = 0; j < 3; ++j) {
            Eight numbers;
            std::memcpy(&numbers, from + i + j * kBlock, sizeof numbers);
            numbers -= centres[j];
            std::memcpy(centred.numbers + i + j * kBlock, &numbers, sizeof numbers);
        }
    }
}

// Three vectors of x, y, z, x, ...
[[gnu::always_inline]] inline void repeat(const Four& point, Eight (&vectors)[3]) {
    const float x = point[0];
    const float y = point[1];
    const float z = point[2];
    vectors[0] = Eight{x, y, z, x, y, z, x, y};
    vectors[1] = Eight{z, x, y, z, x, y, z, x};
    vectors[2] = Eight{y, z, x, y, z, x, y, z};
}

// The numbers of the centred points are spread by the loads, which costs the units nothing that
// add.
[[gnu::target("avx2")]] int addProducts(const CentredPairs<false, 0>& centred,
                                        OuterProducts& sums) {
    Eight centres1[3], centres2[3];
    repeat(centred.centre1, centres1);
    repeat(centred.centre2, centres2);
    __m256 upper = _mm256_setr_m128(sums.rows[0], sums.rows[1]);
    __m128 lower = sums.rows[2];
    // A block ahead, since what was just stored in other pieces cannot be loaded at once.
    Centred first[2], second[2];
    for (int place = 0; place < 2; ++place)
        first[place].numbers[3 * Centred::kPairs] = second[place].numbers[3 * Centred::kPairs] = 0;
    const auto centreBlock = [&](int k) __attribute__((always_inline)) {
        const int place = k / Centred::kPairs % 2;
        centre(centred.pairs.first + 3 * static_cast<std::size_t>(k), centres1, first[place]);
        centre(centred.pairs.second + 3 * static_cast<std::size_t>(k), centres2, second[place]);
    };
    const int end = centred.pairs.n - centred.pairs.n % Centred::kPairs;
    if (end > 0)
        centreBlock(0);
    for (int k = 0; k < end; k += Centred::kPairs) {
        if (k + Centred::kPairs < end)
            centreBlock(k + Centred::kPairs);
        const int place = k / Centred::kPairs % 2;
#pragma GCC unroll 8
        for (int i = 0; i < 3 * Centred::kPairs; i += 3) {
            const float* const p = second[place].numbers + i;
            const __m128 q = _mm_loadu_ps(first[place].numbers + i);
            const __m256 xy =
                _mm256_blend_ps(_mm256_broadcast_ss(p), _mm256_broadcast_ss(p + 1), 0xF0);
            upper += xy * _mm256_set_m128(q, q);
            lower += _mm_broadcast_ss(p + 2) * q;
        }
    }
    sums.rows[0] = _mm256_castps256_ps128(upper);
    sums.rows[1] = _mm256_extractf128_ps(upper, 1);
    sums.rows[2] = lower;
    return end;
}

[[gnu::target("avx2")]] int addScales(const CentredPairs<false, 0>& centred, const Four (&rows)[3],
                                      ScaleSums& sums) {
    Four both = {sums.rq, sums.rr, 0, 0};
    int k = 0;
    // The last point is not read with what lies behind it, since blocks end where points do.
    for (; k + kBlock <= centred.pairs.n; k += kBlock) {
        Points p, q;
        load(centred.pairs.second + 3 * static_cast<std::size_t>(k), p);
        load(centred.pairs.first + 3 * static_cast<std::size_t>(k), q);
        subtract(centred.centre2, p);
        subtract(centred.centre1, q);
        const Eight x = p.x * rows[0][0] + p.y * rows[1][0] + p.z * rows[2][0];
        const Eight y = p.x * rows[0][1] + p.y * rows[1][1] + p.z * rows[2][1];
        const Eight z = p.x * rows[0][2] + p.y * rows[1][2] + p.z * rows[2][2];
        const Eight rq = x * q.x + y * q.y + z * q.z;
        const Eight rr = x * x + y * y + z * z;
        const Eight lower = __builtin_shuffle(rq, rr, Places{0, 8, 1, 9, 4, 12, 5, 13});
        const Eight upper = __builtin_shuffle(rq, rr, Places{2, 10, 3, 11, 6, 14, 7, 15});
        addInOrder(_mm256_castps256_ps128(lower), _mm256_castps256_ps128(upper), both);
        addInOrder(_mm256_extractf128_ps(lower, 1), _mm256_extractf128_ps(upper, 1), both);
    }
    sums.rq = both[0];
    sums.rr = both[1];
    return k;
}

}  // namespace

int addBlocks(const CentredPairs<false, 0>& centred, OuterProducts& sums) {
    return __builtin_cpu_supports("avx2") ? addProducts(centred, sums) : 0;
}

int addBlocks(const CentredPairs<false, 0>& centred, const Four (&rows)[3], ScaleSums& sums) {
    return __builtin_cpu_supports("avx2") ? addScales(centred, rows, sums) : 0;
}
#else
int addBlocks(const CentredPairs<false, 0>&, OuterProducts&) {
    return 0;
}

int addBlocks(const CentredPairs<false, 0>&, const Four (&)[3], ScaleSums&) {
    return 0;
}
#endif

}  // namespace numerics
