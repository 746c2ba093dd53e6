// The product of dense matrices.
#include <ztlib/ZtDMatrix.h>

#include <algorithm>
#include <cstdio>

#include "numerics/DenseKernels.h"

namespace ztdmatrix {

namespace {

/// Pointers to the rows of a matrix, the factors' ones shifted to the element that is needed first.
/// One pointer per row takes as much memory as one or two columns.
template <class T>
void fillRows(T** rows, T* data, int count, int length) {
    for (int i = 0; i < count; ++i)
        rows[i] = data + static_cast<std::size_t>(i) * static_cast<std::size_t>(length);
}

template <class T>
void multiplyBlocks(const T* a, const T* b, T* c, int m, int depth, int n) {
    constexpr int kRows = 64;
    std::fill_n(c, static_cast<std::size_t>(m) * static_cast<std::size_t>(n), T(0));
    const numerics::DenseKernels<T>& kernels = numerics::denseForm().of(c);
    const T* right[kRows];
    const T* left[kRows];
    T* to[kRows];
    // Rising, so that each element sums in order.
    for (int k = 0; k < depth; k += kRows) {
        const int slice = std::min(kRows, depth - k);
        fillRows(right, b + static_cast<std::size_t>(k) * static_cast<std::size_t>(n), slice, n);
        for (int i = 0; i < m; i += kRows) {
            const int rows = std::min(kRows, m - i);
            fillRows(left, a + static_cast<std::size_t>(i) * static_cast<std::size_t>(depth), rows,
                     depth);
            fillRows(to, c + static_cast<std::size_t>(i) * static_cast<std::size_t>(n), rows, n);
            kernels.add({to, left, right, 0, k, rows, n, slice});
        }
    }
}

}  // namespace

void multiply(const float* a, const float* b, float* c, int m, int depth, int n) {
    multiplyBlocks(a, b, c, m, depth, n);
}

void multiply(const double* a, const double* b, double* c, int m, int depth, int n) {
    multiplyBlocks(a, b, c, m, depth, n);
}

void reportProductOfUnfit(int rowsA, int columnsA, int rowsB, int columnsB) {
    std::fprintf(stderr, "ZtDMatrix:operator*: Can not multiply %dx%d matrix by %dx%d matrix.\n",
                 rowsA, columnsA, rowsB, columnsB);
}

}  // namespace ztdmatrix
