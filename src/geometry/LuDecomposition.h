// LU decomposition of small square matrices in place (Crout's method).
#pragma once

#include <cmath>
#include <cstddef>
#include <utility>

/// Decomposes `a`, row by row, into L (unit diagonal) below the diagonal and U on and above it,
/// with partial pivoting: the pivot of a column is the largest candidate after each row was scaled
/// by its largest element; of equal ones the later row. `index[j]` is the row exchanged with row j,
/// `parity` 1 or -1. A pivot of exactly 0 becomes `zeroPivot`; if that is 0, too, the decomposition
/// stops. Returns whether it came to the end; a row of zeros stops it before anything is changed.
template <class T, std::size_t N>
bool luDecompose(T (&a)[N][N], int* index, T& parity, T zeroPivot) {
    constexpr int n = N;
    T scale[N];
    for (int i = 0; i < n; ++i) {
        T largest = 0;
        for (int j = 0; j < n; ++j)
            if (std::abs(a[i][j]) > largest)
                largest = std::abs(a[i][j]);
        if (largest == 0)
            return false;
        scale[i] = 1 / largest;
    }
    parity = 1;
    for (int j = 0; j < n; ++j) {
        T largest = 0;
        int pivotRow = j;
        for (int i = 0; i < n; ++i) {
            T sum = a[i][j];
            for (int k = 0; k < (i < j ? i : j); ++k)
                sum -= a[i][k] * a[k][j];
            a[i][j] = sum;
            if (i >= j && scale[i] * std::abs(sum) >= largest) {
                largest = scale[i] * std::abs(sum);
                pivotRow = i;
            }
        }
        if (pivotRow != j) {
            for (int k = 0; k < n; ++k)
                std::swap(a[pivotRow][k], a[j][k]);
            scale[pivotRow] = scale[j];
            parity = -parity;
        }
        index[j] = pivotRow;
        if (a[j][j] == 0)
            a[j][j] = zeroPivot;
        if (a[j][j] == 0)
            return false;
        for (int i = j + 1; i < n; ++i)
            a[i][j] /= a[j][j];
    }
    return true;
}

/// Solves A x = b in place from the factors of A: forward, passing over leading zeros, then back.
template <class T, std::size_t N>
void luSolve(const T (&a)[N][N], const int* index, T* b) {
    constexpr int n = N;
    int first = n;  // the first element of b that is not 0
    for (int i = 0; i < n; ++i) {
        T sum = b[index[i]];
        b[index[i]] = b[i];
        for (int k = first; k < i; ++k)
            sum -= a[i][k] * b[k];
        if (first == n && sum != 0)
            first = i;
        b[i] = sum;
    }
    for (int i = n - 1; i >= 0; --i) {
        T sum = b[i];
        for (int k = i + 1; k < n; ++k)
            sum -= a[i][k] * b[k];
        b[i] = sum / a[i][i];
    }
}
