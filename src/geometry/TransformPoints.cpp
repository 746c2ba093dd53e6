// Transforms arrays of points: the plain loop, which the compiler makes wide as well as it can, and
// for processors with vectors of 512 bits a loop over blocks of sixteen points.
#include <ztlib/ZtMat4f.h>
#include <ztlib/ZtVec3f.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "core/WideTargets.h"

namespace {

// In place and apart are two loops, since each tells the compiler what may overlap.
ZT_WIDE void transformInPlace(const ZtMat4f& matrix, ZtVec3f* points, int count) {
    const ZtMat4f m = matrix;  // a copy cannot change with the points
    for (int i = 0; i < count; ++i)
        m.multVecMatrix(points[i], points[i]);
}

ZT_WIDE void transformApart(const ZtMat4f& matrix, const ZtVec3f* __restrict src,
                            ZtVec3f* __restrict dst, int count) {
    const ZtMat4f m = matrix;
    for (int i = 0; i < count; ++i)
        m.multVecMatrix(src[i], dst[i]);
}

void transformPlain(const ZtMat4f& matrix, const ZtVec3f* src, ZtVec3f* dst, int count) {
    if (src == dst)
        transformInPlace(matrix, dst, count);
    else
        transformApart(matrix, src, dst, count);
}

#if defined(ZT_HAS_WIDE)
constexpr int kBlock = 16;  // points, which fill three vectors
constexpr std::size_t kVectorBytes = 64;
using Floats = float __attribute__((vector_size(kVectorBytes)));
using Places = int __attribute__((vector_size(kVectorBytes)));

using Lanes = std::make_integer_sequence<int, kBlock>;

// The component of sixteen points that lie in a, b and c one after the other. A shuffle takes the
// element `place` of two vectors; the first brings in what a and b have, the second the rest of c.
template <int component, int... lane>
[[gnu::always_inline]] inline void gather(const Floats& a, const Floats& b, const Floats& c,
                                          Floats& lanes, std::integer_sequence<int, lane...>) {
    constexpr Places kFirst = {(3 * lane + component) % (2 * kBlock)...};
    constexpr Places kRest = {
        (3 * lane + component < 2 * kBlock ? lane : 3 * lane + component - kBlock)...};
    lanes = __builtin_shuffle(__builtin_shuffle(a, b, kFirst), c, kRest);
}

// The reverse: the third that stands at `part` of the points whose components are x, y and z.
template <int part, int... lane>
[[gnu::always_inline]] inline void scatter(const Floats& x, const Floats& y, const Floats& z,
                                           float* dst, std::integer_sequence<int, lane...>) {
    constexpr int kStart = part * kBlock;
    constexpr Places kFirst = {((kStart + lane) / 3 + ((kStart + lane) % 3 == 1 ? kBlock : 0))...};
    constexpr Places kRest = {((kStart + lane) % 3 == 2 ? kBlock + (kStart + lane) / 3 : lane)...};
    const Floats lanes = __builtin_shuffle(__builtin_shuffle(x, y, kFirst), z, kRest);
    std::memcpy(dst + kStart, &lanes, sizeof lanes);
}

[[gnu::target("avx512f,prefer-vector-width=512")]] void transformBlocks(const ZtMat4f& matrix,
                                                                        const ZtVec3f* src,
                                                                        ZtVec3f* dst, int count) {
    const ZtMat4f m = matrix;
    int i = 0;
    // Up to a whole cache line, where one can be reached.
    for (; i < kBlock && i < count && reinterpret_cast<std::uintptr_t>(dst + i) % kVectorBytes; ++i)
        m.multVecMatrix(src[i], dst[i]);
    for (; i + kBlock <= count; i += kBlock) {
        const float* const from = &src[i].x;
        float* const to = &dst[i].x;
        // So much is under way then that memory delivers at its full rate, also across the ends of
        // pages. Addresses beyond the array do no harm.
        constexpr std::uintptr_t kAhead = 1024;
        const auto ahead = reinterpret_cast<std::uintptr_t>(from) + kAhead;
        Floats a, b, c;
        std::memcpy(&a, from, sizeof a);
        std::memcpy(&b, from + kBlock, sizeof b);
        std::memcpy(&c, from + 2 * kBlock, sizeof c);
        for (std::uintptr_t line = 0; line < 3; ++line)
            __builtin_prefetch(reinterpret_cast<const void*>(ahead + line * kVectorBytes), 1);
        Floats x, y, z;
        gather<0>(a, b, c, x, Lanes());
        gather<1>(a, b, c, y, Lanes());
        gather<2>(a, b, c, z, Lanes());
        // The same operations in the same order as for one point.
        Floats image[4];
        for (int j = 0; j < 4; ++j)
            image[j] = x * m[0][j] + y * m[1][j] + z * m[2][j] + 1 * m[3][j];
        const Floats reciprocal = 1 / image[3];
        for (int j = 0; j < 3; ++j)
            image[j] *= reciprocal;
        scatter<0>(image[0], image[1], image[2], to, Lanes());
        scatter<1>(image[0], image[1], image[2], to, Lanes());
        scatter<2>(image[0], image[1], image[2], to, Lanes());
    }
    for (; i < count; ++i)
        m.multVecMatrix(src[i], dst[i]);
}
#endif

}  // namespace

void ZtMat4f::multVecMatrix(const ZtVec3f* src, ZtVec3f* dst, int count) const {
#if defined(ZT_HAS_WIDE)
    if (__builtin_cpu_supports("avx512f"))
        return transformBlocks(*this, src, dst, count);
#endif
    transformPlain(*this, src, dst, count);
}
