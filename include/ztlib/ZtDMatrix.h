// ZtDMatrix: a dense matrix of any size, for small and medium systems of equations.
#pragma once

#include <ztlib/ZtContract.h>
#include <ztlib/ZtExport.h>
#include <ztlib/ZtMemory.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

class ZtProgressInterface;

/// The arithmetic behind ZtDMatrix, compiled into the library so that results do not depend on how
/// its callers are compiled. Use the members of the class.
namespace ztdmatrix {

/// c = a b for an m x depth and a depth x n matrix; c overlaps neither.
ZTLIB_API void multiply(const float* a, const float* b, float* c, int m, int depth, int n);
ZTLIB_API void multiply(const double* a, const double* b, double* c, int m, int depth, int n);

/// The same for element types that the library does not know.
template <class T>
void multiply(const T* a, const T* b, T* c, int m, int depth, int n) {
    for (int i = 0; i < m; ++i, a += depth)
        for (int j = 0; j < n; ++j) {
            T sum = 0;
            for (int k = 0; k < depth; ++k)
                sum += a[k] * b[static_cast<std::size_t>(k) * static_cast<std::size_t>(n) +
                                static_cast<std::size_t>(j)];
            *c++ = sum;
        }
}

/// Prints that the shapes of the factors do not fit.
ZTLIB_API void reportProductOfUnfit(int rowsA, int columnsA, int rowsB, int columnsB);

/// The solvers behind `ZtDMatrix::solve` and its kin, on rows of numbers.
ZTLIB_API int solve(const float* a, int rows, int columns, float** rhs, int nrhs,
                    ZtProgressInterface* progress);
ZTLIB_API int solve(const double* a, int rows, int columns, double** rhs, int nrhs,
                    ZtProgressInterface* progress);

/// The decomposition behind `ZtDMatrix::svd`, on rows of numbers.
ZTLIB_API int decompose(const float* a, int m, int n, float* u, float* w, float* v,
                        int maxIterations);
ZTLIB_API int decompose(const double* a, int m, int n, double* u, double* w, double* v,
                        int maxIterations);

}  // namespace ztdmatrix

/// `nRows()` times `nCols()` elements of type `T`, row by row in one block of the matrix's own,
/// null when there are none. Made for `float`; `double` has all operations too, other plain number
/// types all but the solver and the singular value decomposition. For 3 x 3 and 4 x 4 transforms of
/// space take ZtMat3f and ZtMat4f.
///
/// All arithmetic is in the precision of `T` unless said otherwise, and gives the same result to
/// the last bit on every system and processor. Failed allocations throw `ZtMemoryException` and
/// leave the matrix as it was. May be moved bitwise. A matrix is used by one thread at a time;
/// reading may be shared.
template <class T>
class ZtDMatrix {
    static_assert(std::is_trivially_copyable_v<T>, "the elements are copied byte by byte");

public:
    /// No elements.
    ZtDMatrix() = default;
    /// Uninitialised elements. Negative counts are taken as 0, here and in `resize`.
    ZtDMatrix(int rows, int cols) { resize(rows, cols); }
    ZtDMatrix(const ZtDMatrix& other) { *this = other; }
    ZtDMatrix(ZtDMatrix&& other) noexcept { swap(other); }
    ~ZtDMatrix() { ztfree(data_); }

    /// The numbers of rows and of columns.
    int nRows() const { return rows_; }
    int nCols() const { return columns_; }

    /// Row `i`. Expects 0 <= i < nRows().
    T* operator[](int i) { return data_ + rowStart(i); }
    const T* operator[](int i) const { return data_ + rowStart(i); }
    /// Element (i, j): row i, column j. Expects both within the matrix.
    T& operator()(int i, int j) { return data_[place(i, j)]; }
    const T& operator()(int i, int j) const { return data_[place(i, j)]; }

    /// All elements, element (i, j) at i * nCols() + j; null when there are none.
    T* dataPtr() { return data_; }
    const T* dataPtr() const { return data_; }

    /// Changes the dimensions; nothing happens when they are those already. The elements are
    /// neither initialised nor rearranged: those that both blocks have keep their place in the
    /// block.
    void resize(int rows, int cols) {
        rows = rows > 0 ? rows : 0;
        cols = cols > 0 ? cols : 0;
        if (rows == rows_ && cols == columns_)
            return;
        const std::size_t bytes = bytesOf(rows, cols);
        if (data_ || bytes > 0)
            data_ = static_cast<T*>(ztrealloc(data_, bytes));
        rows_ = rows;
        columns_ = cols;
    }

    /// Takes the shape and the values of the other.
    ZtDMatrix& operator=(const ZtDMatrix& other) {
        if (this == &other)
            return *this;
        resize(other.rows_, other.columns_);
        if (data_)
            std::memcpy(static_cast<void*>(data_), other.data_, bytesOf(rows_, columns_));
        return *this;
    }
    ZtDMatrix& operator=(ZtDMatrix&& other) noexcept {
        swap(other);
        return *this;
    }

    /// this = this b; each element is accumulated from 0 on in the order of the columns of this. If
    /// nCols() differs from the rows of `b`, prints so on standard error and leaves this unchanged.
    /// `b` may be this matrix.
    ZtDMatrix& operator*=(const ZtDMatrix& b) {
        if (columns_ != b.rows_) {
            ztdmatrix::reportProductOfUnfit(rows_, columns_, b.rows_, b.columns_);
            return *this;
        }
        ZtDMatrix product(rows_, b.columns_);
        ztdmatrix::multiply(data_, b.data_, product.data_, rows_, columns_, b.columns_);
        swap(product);
        return *this;
    }

    /// Exchanges rows and columns.
    ZtDMatrix& transpose() {
        // In tiles, so that neither the rows nor the columns fall out of the cache.
        constexpr int kTile = 16;
        ZtDMatrix turned(columns_, rows_);
        for (int firstRow = 0; firstRow < rows_; firstRow += kTile)
            for (int firstColumn = 0; firstColumn < columns_; firstColumn += kTile)
                for (int j = firstColumn; j < columns_ && j - firstColumn < kTile; ++j)
                    for (int i = firstRow; i < rows_ && i - firstRow < kTile; ++i)
                        turned.data_[turned.place(j, i)] = data_[place(i, j)];
        swap(turned);
        return *this;
    }

    /// Solves A x = b for the square matrix A and each of the `nrhs` right-hand sides `rhs[j]` of
    /// nRows() numbers, which x replaces. LR decomposition with partial pivoting by rows, the last
    /// of equal candidates taken, no row scaling; then up to ten rounds of refinement in the same
    /// precision, until the residual's norm is at most 1e-5 times that of b. The matrix itself is
    /// not changed. About 2/3 n^3 operations, and 4 n^2 for each round of each side.
    ///
    /// Returns 0. A remaining residual above 1e-4 times b is reported on standard output. Returns
    /// 1, the right-hand sides being untouched, after a message on standard error, when the matrix
    /// is not square, is singular (a pivot is exactly 0) or memory is exhausted; and, without one,
    /// when `progress`, which is told every 20 columns, asks to stop.
    int solveLRdecomp(T** rhs, int nrhs, ZtProgressInterface* progress = nullptr) const {
        return ztdmatrix::solve(data_, rows_, columns_, rhs, nrhs, progress);
    }

    /// Singular value decomposition A = U diag(w) V^T of the m x n matrix A: `u` becomes m x n, `v`
    /// n x n, and `w` receives n values >= 0, not sorted. The columns of `v`, and those of `u` if
    /// m >= n, are orthonormal also where a value is 0. Householder bidiagonalisation and implicit
    /// QR steps (Golub and Reinsch, 1970). `u` or `v` may be this matrix, but not both the same
    /// one.
    ///
    /// Returns 1; or 0, after a message on standard output, when a value has not converged by its
    /// iteration number `maxIterations`. U, w and V then hold what was reached.
    int svd(ZtDMatrix& u, T* w, ZtDMatrix& v, int maxIterations = 30) const {
        ZT_REQUIRE(&u != &v);
        if (&v == this && rows_ != columns_)
            return ZtDMatrix(*this).svd(u, w, v, maxIterations);
        const int m = rows_;
        const int n = columns_;
        u.resize(m, n);
        v.resize(n, n);
        return ztdmatrix::decompose(data_, m, n, u.data_, w, v.data_, maxIterations);
    }

private:
    static std::size_t bytesOf(int rows, int cols) {
        const auto r = static_cast<std::size_t>(rows);
        const auto c = static_cast<std::size_t>(cols);
        if (r > 0 && c > static_cast<std::size_t>(PTRDIFF_MAX) / sizeof(T) / r)
            ztThrowMemoryException(SIZE_MAX);
        return r * c * sizeof(T);
    }

    std::size_t rowStart(int i) const {
        ZT_REQUIRE(i >= 0 && i < rows_);
        return static_cast<std::size_t>(i) * static_cast<std::size_t>(columns_);
    }
    std::size_t place(int i, int j) const {
        ZT_REQUIRE(j >= 0 && j < columns_);
        return rowStart(i) + static_cast<std::size_t>(j);
    }

    void swap(ZtDMatrix& other) noexcept {
        const int rows = rows_;
        const int columns = columns_;
        T* const data = data_;
        rows_ = other.rows_;
        columns_ = other.columns_;
        data_ = other.data_;
        other.rows_ = rows;
        other.columns_ = columns;
        other.data_ = data;
    }

    int rows_ = 0;
    int columns_ = 0;
    T* data_ = nullptr;
};
