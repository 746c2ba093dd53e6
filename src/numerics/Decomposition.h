// Singular value decomposition: G. H. Golub, C. Reinsch, Singular value decomposition and least
// squares solutions, Numerische Mathematik 14 (1970).
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <type_traits>

#include "numerics/DenseKernels.h"

namespace numerics {

/// Sums of squares up to this one may have lost digits, or everything, to underflow. Too large the
/// squares are not: the matrix is scaled first.
template <class T>
constexpr T kTinySquare = static_cast<T>(1e-30);
template <>
inline constexpr double kTinySquare<double> = 1e-280;

template <class T>
T length(T x, T y) {
    const T square = x * x + y * y;
    if (!(square <= kTinySquare<T>))
        return std::sqrt(square);
    const T larger = std::max(std::fabs(x), std::fabs(y));
    if (larger == 0)
        return 0;
    x /= larger;
    y /= larger;
    return larger * std::sqrt(x * x + y * y);
}

/// A plane rotation.
template <class T>
struct Givens {
    T c = 1;
    T s = 0;

    /// That which turns (x, y) into (length, 0); the identity where the length is 0.
    static Givens of(T x, T y, T length) {
        return length == 0 ? Givens() : Givens{x / length, y / length};
    }

    template <class Count>
    void turn(T* a, T* b, Count count) const {
        for (int i = 0; i < count; ++i) {
            const T x = a[i];
            const T y = b[i];
            a[i] = x * c + y * s;
            b[i] = y * c - x * s;
        }
    }
};

/// Decomposes a matrix of m rows and n > 0 columns. The columns of U and V lie in rows here, so
/// that all loops run over neighbours. `Count` is int, or a constant for a size that shall be
/// unrolled.
template <class T, class Count>
class Decomposition {
public:
    /// Where the arrays are: `left` n x m, `right` n x n, `w`, `e` and `scales` n, `sums` m.
    struct Space {
        T* left;
        T* right;
        T* w;
        T* e;
        T* leftPivots;
        T* rightPivots;
        T* sums;
    };

    Decomposition(Count m, Count n, const Space& space) : m_(m), n_(n), s_(space) {}

    int run(const T* a, int maxIterations) {
        load(a);
        bidiagonalise();
        accumulateRight();
        accumulateLeft();
        const bool converged = diagonalise(maxIterations);
        for (int i = 0; exponent_ != 0 && i < n_; ++i)
            s_.w[i] = std::ldexp(s_.w[i], exponent_);
        if (!converged)
            std::printf("no convergence in %d svd iterations \n", maxIterations);
        return converged;
    }

private:
    static constexpr bool kIsFixed = !std::is_same_v<Count, int>;

    T* left(int column) const {
        return s_.left + static_cast<std::ptrdiff_t>(column) * static_cast<std::ptrdiff_t>(m_);
    }
    T* right(int column) const {
        return s_.right + static_cast<std::ptrdiff_t>(column) * static_cast<std::ptrdiff_t>(n_);
    }

    static T dot(const T* a, const T* b, int count) {
        if constexpr (kIsFixed) {
            T sum = 0;
            for (int i = 0; i < count; ++i)
                sum += a[i] * b[i];
            return sum;
        } else {
            return numerics::denseForm().of(a).dot(a, b, count);
        }
    }

    static void addMultiple(T* to, T factor, const T* from, int count) {
        for (int i = 0; i < count; ++i)
            to[i] += factor * from[i];
    }

    // Copies the matrix with its largest element near 1, by a power of two, so that no product of
    // two of its elements leaves the range of T.
    void load(const T* a) {
        T largest = 0;
        for (int i = 0; i < m_; ++i)
            for (int j = 0; j < n_; ++j) {
                const T element = *a++;
                left(j)[i] = element;
                largest = std::max(largest, std::fabs(element));
            }
        constexpr T kSmall = static_cast<T>(1) / 1024;
        constexpr T kLarge = 1024;
        if ((largest > kSmall && largest < kLarge) || largest == 0 || !std::isfinite(largest))
            return;
        exponent_ = std::ilogb(largest);
        for (int j = 0; j < n_; ++j)
            for (int i = 0; i < m_; ++i)
                left(j)[i] = std::ldexp(left(j)[i], -exponent_);
    }

    // Makes of `v`, of `count` > 0 elements, the vector of the reflection I + v v^T / pivot that
    // turns it into (result, 0, 0, ...). The pivot is 0 where nothing needs to be done.
    static void reflect(T* v, int count, T& result, T& pivot) {
        pivot = 0;
        result = count == 1 ? v[0] : T(0);
        if (count == 1)
            return;
        T scale = 1;
        T square = dot(v, v, count);
        if (!(square > kTinySquare<T>)) {
            scale = 0;
            for (int i = 0; i < count; ++i)
                scale += std::fabs(v[i]);
            if (scale == 0)
                return;
            for (int i = 0; i < count; ++i)
                v[i] /= scale;
            square = dot(v, v, count);
        }
        const T length = -std::copysign(std::sqrt(square), v[0]);
        pivot = v[0] * length - square;
        v[0] -= length;
        result = scale * length;
    }

    // Reflections from the left and from the right in turn leave the diagonal w and above it e. The
    // vectors of the left ones remain on and below the diagonal of A, those of the right ones,
    // which keep component 0 up to i, go to row i + 1 of V.
    void bidiagonalise() {
        std::fill_n(s_.right, static_cast<std::ptrdiff_t>(n_) * n_, T(0));
        s_.e[0] = 0;
        for (int i = 0; i < n_; ++i) {
            s_.w[i] = 0;
            s_.leftPivots[i] = 0;
            s_.rightPivots[i] = 0;
            T next = 0;
            if (i < m_) {
                reflectColumn(i);
                if (i + 1 < n_)
                    next = reflectRow(i);
            }
            norm_ = std::max(norm_, std::fabs(s_.w[i]) + std::fabs(s_.e[i]));
            if (i + 1 < n_)
                s_.e[i + 1] = next;
        }
    }

    void reflectColumn(int i) {
        T* const v = left(i) + i;
        reflect(v, m_ - i, s_.w[i], s_.leftPivots[i]);
        if (s_.leftPivots[i] == 0)
            return;
        for (int j = i + 1; j < n_; ++j) {
            T* const column = left(j) + i;
            addMultiple(column, dot(v, column, m_ - i) / s_.leftPivots[i], v, m_ - i);
        }
    }

    // Returns what remains of the row beside the diagonal.
    T reflectRow(int i) {
        const int first = i + 1;
        T* const v = right(first) + first;
        for (int j = first; j < n_; ++j)
            v[j - first] = left(j)[i];
        T result;
        reflect(v, n_ - first, result, s_.rightPivots[i]);
        if (s_.rightPivots[i] == 0)
            return result;
        T* const sums = s_.sums;
        for (int k = first; k < m_; ++k)
            sums[k] = 0;
        for (int j = first; j < n_; ++j)
            addMultiple(sums + first, v[j - first], left(j) + first, m_ - first);
        for (int k = first; k < m_; ++k)
            sums[k] /= s_.rightPivots[i];
        for (int j = first; j < n_; ++j)
            addMultiple(left(j) + first, v[j - first], sums + first, m_ - first);
        return result;
    }

    // Turns `v`, the vector of a reflection, into the reflection's first column.
    static void makeFirstColumn(T* v, int count, T pivot) {
        const T factor = pivot == 0 ? T(0) : v[0] / pivot;
        for (int i = 0; i < count; ++i)
            v[i] *= factor;
        v[0] += 1;
    }

    // The product of the reflections, built from the last one on.
    void accumulateRight() {
        for (int i = n_ - 2; i >= 0; --i) {
            const int first = i + 1;
            const int count = n_ - first;
            T* const v = right(first) + first;
            if (s_.rightPivots[i] != 0)
                for (int j = first + 1; j < n_; ++j) {
                    T* const column = right(j) + first;
                    addMultiple(column, dot(v, column, count) / s_.rightPivots[i], v, count);
                }
            makeFirstColumn(v, count, s_.rightPivots[i]);
        }
        right(0)[0] = 1;
    }

    void accumulateLeft() {
        for (int i = std::min<int>(m_, n_) - 1; i >= 0; --i) {
            const int count = m_ - i;
            T* const v = left(i) + i;
            for (int j = i + 1; j < n_; ++j) {
                T* const column = left(j) + i;
                column[0] = 0;
                if (s_.leftPivots[i] != 0)
                    addMultiple(column, dot(v, column, count) / s_.leftPivots[i], v, count);
            }
            makeFirstColumn(v, count, s_.leftPivots[i]);
        }
    }

    bool isNegligible(T value) const { return std::fabs(value) + norm_ == norm_; }

    bool diagonalise(int maxIterations) {
        for (int k = n_ - 1; k >= 0; --k)
            for (int iteration = 1;; ++iteration) {
                const int l = split(k);
                if (l == k)
                    break;
                if (iteration >= maxIterations)
                    return false;
                step(l, k);
            }
        return true;
    }

    // Returns the row from which on the diagonal up to row k hangs together; value k has converged
    // when that is k, and then becomes positive.
    int split(int k) {
        int l = k;
        while (l > 0 && !isNegligible(s_.e[l])) {
            if (isNegligible(s_.w[l - 1])) {
                cancel(l, k);
                break;
            }
            --l;
        }
        if (l == k && s_.w[k] < 0) {
            s_.w[k] = -s_.w[k];
            for (int i = 0; i < n_; ++i)
                right(k)[i] = -right(k)[i];
        }
        return l;
    }

    // With w[l - 1] negligible, rotates e[l] away.
    void cancel(int l, int k) {
        Givens<T> rotation{0, 1};
        for (int i = l; i <= k; ++i) {
            const T f = rotation.s * s_.e[i];
            s_.e[i] *= rotation.c;
            if (isNegligible(f))
                return;
            const T g = s_.w[i];
            s_.w[i] = length(f, g);
            rotation = Givens<T>::of(g, -f, s_.w[i]);
            rotation.turn(left(l - 1), left(i), m_);
        }
    }

    // The shift of an implicit QR step on the rows l to k: an eigenvalue of the last 2 x 2 minor of
    // B^T B, put as the first element of the first column that is rotated.
    T shifted(int l, int k) const {
        const T x = s_.w[l];
        const T y = s_.w[k - 1];
        const T z = s_.w[k];
        const T g = s_.e[k - 1];
        const T h = s_.e[k];
        const T f = ((y - z) * (y + z) + (g - h) * (g + h)) / (2 * h * y);
        const T root = std::copysign(length(f, T(1)), f);
        return ((x - z) * (x + z) + h * (y / (f + root) - h)) / x;
    }

    void step(int l, int k) {
        T f = shifted(l, k);
        T x = s_.w[l];
        Givens<T> rotation{1, 1};
        for (int j = l; j < k; ++j) {
            const int i = j + 1;
            T h = rotation.s * s_.e[i];
            T g = rotation.c * s_.e[i];
            s_.e[j] = length(f, h);
            rotation = Givens<T>::of(f, h, s_.e[j]);
            rotation.turn(right(j), right(i), n_);
            f = x * rotation.c + g * rotation.s;
            g = g * rotation.c - x * rotation.s;
            h = s_.w[i] * rotation.s;
            const T y = s_.w[i] * rotation.c;
            s_.w[j] = length(f, h);
            rotation = Givens<T>::of(f, h, s_.w[j]);
            rotation.turn(left(j), left(i), m_);
            f = rotation.c * g + rotation.s * y;
            x = rotation.c * y - rotation.s * g;
        }
        s_.e[l] = 0;
        s_.e[k] = f;
        s_.w[k] = x;
    }

    const Count m_;
    const Count n_;
    const Space s_;
    T norm_ = 0;
    int exponent_ = 0;
};

}  // namespace numerics
