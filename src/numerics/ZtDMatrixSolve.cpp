// Systems of linear equations by LR decomposition with iterative refinement.
#include <ztlib/ZtDMatrix.h>
#include <ztlib/ZtMemory.h>
#include <ztlib/ZtProgressInterface.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <utility>

#include "core/AllocateOrNull.h"
#include "numerics/DenseKernels.h"
#include "numerics/SolveOrThrow.h"

namespace ztdmatrix {

namespace {

/// How many columns are decomposed one by one; what follows from them for the columns to the right
/// is done for all of them at once.
constexpr int kPanelColumns = 8;

/// The Euclidean norm, in double precision and without overflow.
template <class T>
double norm(const T* values, int count) {
    double sum = 0;
    for (int i = 0; i < count; ++i)
        sum += static_cast<double>(values[i]) * static_cast<double>(values[i]);
    if (sum > 1e-280 && sum < 1e280)
        return std::sqrt(sum);
    double largest = 0;
    for (int i = 0; i < count; ++i)
        largest = std::max(largest, std::fabs(static_cast<double>(values[i])));
    if (!(largest > 0) || std::isinf(largest))
        return sum;
    sum = 0;
    for (int i = 0; i < count; ++i) {
        const double share = static_cast<double>(values[i]) / largest;
        sum += share * share;
    }
    return largest * std::sqrt(sum);
}

/// Solves systems with one n x n matrix. The decomposition is that of Gauss, which for each column
/// in turn subtracts multiples of the pivot's row from the rows below it; every element goes
/// through the same subtractions in the same order here. They are put together in blocks by halving
/// the columns (Toledo, Locality of reference in LU decomposition with partial pivoting, 1997).
template <class T>
class LrSolver {
public:
    LrSolver(const T* a, int n)
        : a_(a), n_(n), size_(static_cast<std::size_t>(n)), kernels_(numerics::denseForm().of(a)) {}
    ~LrSolver() {
        for (int i = 0; i < numRows_; ++i)
            ztfree(rows_[i]);
        if (work_ != small_)
            ztfree(work_);
    }
    LrSolver(const LrSolver&) = delete;
    LrSolver& operator=(const LrSolver&) = delete;

    /// Copies the matrix; false after a message when memory is exhausted.
    bool copyMatrix() {
        // An even number, so that the pointers behind them lie as they must.
        const std::size_t numbers = (kPanelColumns * columnStride() + 3 * size_ + 1) / 2 * 2;
        const std::size_t bytes = numbers * sizeof(T) + size_ * (sizeof(T*) + sizeof(int));
        work_ = bytes <= sizeof small_ ? small_ : static_cast<T*>(allocateOrNull(bytes));
        if (!work_) {
            std::fputs("ZtDMatrix::solveLRdecomp: Not Enough Memory.\n", stderr);
            return false;
        }
        solution_ = work_ + kPanelColumns * columnStride();
        std::fill_n(work_, numbers, T(0));
        residual_ = solution_ + size_;
        correction_ = residual_ + size_;
        rows_ = reinterpret_cast<T**>(work_ + numbers);
        order_ = reinterpret_cast<int*>(rows_ + size_);
        for (; numRows_ < n_; ++numRows_) {
            rows_[numRows_] = static_cast<T*>(allocateOrNull(size_ * sizeof(T)));
            if (!rows_[numRows_]) {
                std::fprintf(stderr, "ZtDMatrix::solveLRdecomp: Not Enough Memory (%d).\n",
                             numRows_);
                return false;
            }
            std::copy_n(rowOfMatrix(numRows_), n_, rows_[numRows_]);
            order_[numRows_] = numRows_;
        }
        return true;
    }

    /// Replaces the copy by its factors; false when it is singular, after a message, or when
    /// `progress` asks to stop.
    bool decompose(ZtProgressInterface* progress) {
        progress_ = progress;
        return decompose(0, n_);
    }

    /// Replaces `rhs` by the solution.
    void solve(T* rhs) {
        constexpr int kMaxRounds = 10;
        const double normOfRhs = norm(rhs, n_);
        double normOfResidual = normOfRhs;
        std::fill_n(solution_, n_, T(0));
        std::copy_n(rhs, n_, residual_);
        for (int round = 0; normOfResidual > 1e-5 * normOfRhs && round < kMaxRounds; ++round) {
            for (int i = 0; i < n_; ++i)
                correction_[i] = residual_[order_[i]];
            kernels_.substitute(rows_, n_, correction_);
            for (int i = 0; i < n_; ++i)
                solution_[i] += correction_[i];
            kernels_.residual(a_, n_, n_, solution_, rhs, residual_);
            normOfResidual = norm(residual_, n_);
        }
        if (normOfRhs > 0 && normOfResidual / normOfRhs > 0.0001)
            warn(normOfResidual / normOfRhs);
        std::copy_n(solution_, n_, rhs);
    }

private:
    const T* rowOfMatrix(int i) const { return a_ + static_cast<std::size_t>(i) * size_; }

    std::size_t columnStride() const { return size_ + numerics::kColumnRoom; }

    // Decomposes the columns first .. end - 1 of the rows from `first` on.
    bool decompose(int first, int end) {
        if (end - first <= kPanelColumns)
            return decomposePanel(first, end);
        const int panels = (end - first + kPanelColumns - 1) / kPanelColumns;
        const int middle = first + panels / 2 * kPanelColumns;
        if (!decompose(first, middle))
            return false;
        eliminateInPivotRows(first, middle, middle, end);
        kernels_.subtract({rows_ + middle, rows_ + middle, rows_ + first, middle, first,
                           n_ - middle, end - middle, middle - first});
        return decompose(middle, end);
    }

    // The subtractions that the multipliers of the pivot rows first .. end - 1 mean for the columns
    // column .. endColumn - 1 of these rows themselves.
    void eliminateInPivotRows(int first, int end, int column, int endColumn) {
        if (end - first > kPanelColumns) {
            const int middle = first + (end - first) / 2;
            eliminateInPivotRows(first, middle, column, endColumn);
            kernels_.subtract({rows_ + middle, rows_ + middle, rows_ + first, column, first,
                               end - middle, endColumn - column, middle - first});
            eliminateInPivotRows(middle, end, column, endColumn);
            return;
        }
        kernels_.subtractTriangle(rows_ + first, first, column, end - first, endColumn - column);
    }

    // Works on a copy of the columns in which each one lies in one piece.
    bool decomposePanel(int first, int end) {
        const int width = end - first;
        const int count = n_ - first;
        T* columns[kPanelColumns];
        for (int c = 0; c < width; ++c)
            columns[c] = work_ + static_cast<std::size_t>(c) * columnStride();
        for (int i = 0; i < count; ++i)
            for (int c = 0; c < width; ++c)
                columns[c][i] = rows_[first + i][first + c];
        for (int j = 0; j < width; ++j) {
            if (isInterrupted(first + j))
                return false;
            const int pivot = j + kernels_.lastLargest(columns[j] + j, count - j);
            if (pivot != j) {
                std::swap(rows_[first + j], rows_[first + pivot]);
                std::swap(order_[first + j], order_[first + pivot]);
                for (int c = 0; c < width; ++c)
                    std::swap(columns[c][j], columns[c][pivot]);
            }
            if (columns[j][j] == 0) {
                std::fprintf(stderr, "ZtDMatrix::solveLRdecomp: Singular Matrix-2\ni, n: %d %d\n",
                             first + j, n_);
                return false;
            }
            T* rest[kPanelColumns];
            for (int c = j; c < width; ++c)
                rest[c - j] = columns[c] + j;
            kernels_.eliminate(rest, width - j, count - j);
        }
        for (int i = 0; i < count; ++i)
            for (int c = 0; c < width; ++c)
                rows_[first + i][first + c] = columns[c][i];
        return true;
    }

    bool isInterrupted(int column) {
        constexpr int kReportEvery = 20;
        if (!progress_ || column % kReportEvery != 0)
            return false;
        progress_->setProgressValue(static_cast<float>(column + 1) / static_cast<float>(n_));
        return progress_->wasInterrupted() != 0;
    }

    static void warn(double ratio) {
        char text[32];
        const auto end =
            std::to_chars(text, text + sizeof text, ratio, std::chars_format::general, 6).ptr;
        std::printf("Warning: norm(residuum) / norm(rhs) = %.*s \n", static_cast<int>(end - text),
                    text);
    }

    const T* const a_;
    const int n_;
    const std::size_t size_;
    const numerics::DenseKernels<T>& kernels_;
    ZtProgressInterface* progress_ = nullptr;

    // Small systems do without the block that follows.
    alignas(16) T small_[4096 / sizeof(T)];
    // One block: the panel's columns, three vectors, the pointers to the rows and their numbers in
    // the matrix.
    T* work_ = nullptr;
    T* solution_ = nullptr;
    T* residual_ = nullptr;
    T* correction_ = nullptr;
    T** rows_ = nullptr;
    int* order_ = nullptr;
    int numRows_ = 0;
};

enum class Outcome { kSolved, kNotSolved, kNoMemory };

template <class T>
Outcome solveSystems(const T* a, int rows, int columns, T** rhs, int nrhs,
                     ZtProgressInterface* progress) {
    if (rows != columns) {
        std::fputs("ZtDMatrix::solveLRdecomp: must be a square matrix.\n", stderr);
        return Outcome::kNotSolved;
    }
    LrSolver<T> solver(a, rows);
    if (!solver.copyMatrix())
        return Outcome::kNoMemory;
    if (!solver.decompose(progress))
        return Outcome::kNotSolved;
    for (int j = 0; j < nrhs; ++j)
        solver.solve(rhs[j]);
    return Outcome::kSolved;
}

}  // namespace

int solve(const float* a, int rows, int columns, float** rhs, int nrhs,
          ZtProgressInterface* progress) {
    return solveSystems(a, rows, columns, rhs, nrhs, progress) == Outcome::kSolved ? 0 : 1;
}

int solve(const double* a, int rows, int columns, double** rhs, int nrhs,
          ZtProgressInterface* progress) {
    return solveSystems(a, rows, columns, rhs, nrhs, progress) == Outcome::kSolved ? 0 : 1;
}

int solveOrThrow(const float* a, int n, float** rhs, int nrhs) {
    const Outcome outcome = solveSystems(a, n, n, rhs, nrhs, nullptr);
    if (outcome == Outcome::kNoMemory)
        ztThrowMemoryException(static_cast<std::size_t>(n) * sizeof(float));
    return outcome == Outcome::kSolved ? 0 : 1;
}

}  // namespace ztdmatrix
