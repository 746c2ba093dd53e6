// Pairs of points, however they are given, and the sums over them in vectors of four numbers.
#pragma once

#include <ztlib/ZtContract.h>

#include <cstddef>
#include <cstdint>

namespace numerics {

/// Three coordinates; the fourth number is anything.
typedef float Four __attribute__((vector_size(16)));

inline Four spread(float value) {
    return Four{value, value, value, value};
}

/// Points of three floats each, in arrays, and the weights of the pairs. `Indexed`: pair k is made
/// of the points idx1[k] and idx2[k]. `Weights`: the number of weight arrays; one holds the weights
/// of pairs, two hold those of points. The arrays that are not in use are null.
template <bool Indexed, int Weights>
struct PointPairs {
    const float* first;
    const float* second;
    const int* idx1;
    const int* idx2;
    const float* w1;
    const float* w2;
    int n;

    float weight(int k) const {
        if constexpr (Weights == 0)
            return 1;
        else if constexpr (Weights == 1)
            return w1[k];
        else
            return w1[place(idx1, k)] * w2[place(idx2, k)];
    }

    /// Calls visit(k, point of the first set, point of the second set) for each pair in order.
    template <class Visit>
    [[gnu::always_inline]] void forEach(Visit visit) const {
        int k = 0;
        if constexpr (!Indexed) {
            // All but the last point of an array may be read with the number behind it.
            const int wide = n - 1;
            const auto visitUpTo = [&](int end) {
                for (; k < end; ++k)
                    visit(k, fourAt(first + 3 * place(idx1, k)),
                          fourAt(second + 3 * place(idx2, k)));
            };
            while (wide - k >= kBlock) {
                prefetch(first + 3 * place(idx1, k));
                prefetch(second + 3 * place(idx2, k));
                visitUpTo(k + kBlock);
            }
            visitUpTo(wide);
        }
        for (; k < n; ++k)
            visit(k, threeAt(first + 3 * place(idx1, k)), threeAt(second + 3 * place(idx2, k)));
    }

    /// Leaves out the first `count` pairs.
    void skip(int count) {
        static_assert(!Indexed && Weights == 0);
        first += 3 * place(idx1, count);
        second += 3 * place(idx2, count);
        n -= count;
    }

private:
    static constexpr int kBlock = 16;

    static std::size_t place(const int* indices, int k) {
        if constexpr (Indexed) {
            ZT_REQUIRE(indices[k] >= 0);
            return static_cast<std::size_t>(indices[k]);
        } else {
            static_cast<void>(indices);
            return static_cast<std::size_t>(k);
        }
    }

    // Asks for the three cache lines of the block of points that lies so far ahead that memory
    // delivers at its full rate, also across the ends of pages. Addresses beyond the array do no
    // harm.
    static void prefetch(const float* block) {
        const auto from = reinterpret_cast<std::uintptr_t>(block) + 2048;
        for (std::uintptr_t line = 0; line < 192; line += 64)
            __builtin_prefetch(reinterpret_cast<const void*>(from + line));
    }

    static Four fourAt(const float* point) {
        typedef float InMemory __attribute__((vector_size(16), aligned(4), may_alias));
        return *reinterpret_cast<const InMemory*>(point);
    }

    static Four threeAt(const float* point) { return Four{point[0], point[1], point[2], 0}; }
};

/// Pairs less their centroids, the second point multiplied by the pair's weight.
template <bool Indexed, int Weights>
struct CentredPairs {
    PointPairs<Indexed, Weights> pairs;
    Four centre1;
    Four centre2;

    /// Calls visit(p, q), p being of the second set and q of the first one.
    template <class Visit>
    [[gnu::always_inline]] void forEach(Visit visit) const {
        pairs.forEach([&](int k, const Four& first, const Four& second) {
            if constexpr (Weights == 0)
                visit(second - centre2, first - centre1);
            else
                visit((second - centre2) * spread(pairs.weight(k)), first - centre1);
        });
    }
};

/// A 3 x 3 matrix by rows: the sum of p^T q, pair after pair.
struct OuterProducts {
    Four rows[3] = {};

    void add(const Four& p, const Four& q) {
        for (int r = 0; r < 3; ++r)
            rows[r] += spread(p[r]) * q;
    }
    void get(float* matrix) const {
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                matrix[3 * r + c] = rows[r][c];
    }
};

}  // namespace numerics
