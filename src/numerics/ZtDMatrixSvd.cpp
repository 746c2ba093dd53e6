// The singular value decomposition of dense matrices.
#include <ztlib/ZtDMatrix.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "core/WorkArray.h"
#include "numerics/Decomposition.h"
#include "numerics/SingularValues3.h"

namespace ztdmatrix {

namespace {

/// Writes the columns of `from` as rows.
template <class T>
void turn(const T* from, int rows, int columns, T* to) {
    for (int j = 0; j < columns; ++j)
        for (int i = 0; i < rows; ++i)
            *to++ = from[static_cast<std::ptrdiff_t>(i) * columns + j];
}

template <class T>
int decompose3x3(const T* a, T* u, T* w, T* v, int maxIterations) {
    numerics::SingularValues3<T> values;
    const int converged = numerics::decompose3(a, values, maxIterations);
    turn(values.left[0], 3, 3, u);
    turn(values.right[0], 3, 3, v);
    std::copy_n(values.w, 3, w);
    return converged;
}

template <class T>
int decomposeAny(const T* a, int m, int n, T* u, T* w, T* v, int maxIterations) {
    if (n == 0)
        return 1;
    if (m == 3 && n == 3)
        return decompose3x3(a, u, w, v, maxIterations);
    const auto rows = static_cast<std::uint64_t>(m);
    const auto columns = static_cast<std::uint64_t>(n);
    WorkArray<T> work(rows * columns + columns * columns + 3 * columns + rows);
    T* const left = work.data();
    T* const right = left + rows * columns;
    T* const vectors = right + columns * columns;
    const int converged =
        numerics::Decomposition<T, int>(m, n,
                                        {left, right, w, vectors, vectors + columns,
                                         vectors + 2 * columns, vectors + 3 * columns})
            .run(a, maxIterations);
    turn(left, n, m, u);
    turn(right, n, n, v);
    return converged;
}

}  // namespace

int decompose(const float* a, int m, int n, float* u, float* w, float* v, int maxIterations) {
    return decomposeAny(a, m, n, u, w, v, maxIterations);
}

int decompose(const double* a, int m, int n, double* u, double* w, double* v, int maxIterations) {
    return decomposeAny(a, m, n, u, w, v, maxIterations);
}

}  // namespace ztdmatrix
