// Dense matrices: the arithmetic to the last bit against plain loops, the decompositions against
// double precision and the properties that define them.
#include <gtest/gtest.h>
#include <ztlib/ZtDMatrix.h>
#include <ztlib/ZtMemoryException.h>
#include <ztlib/ZtProgressInterface.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "ContractCapture.h"
#include "numerics/DenseKernels.h"

using numerics::Form;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;
#include "core/AllocationWatch.h"

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// Runs `test` with each form of the kernels that this processor has.
template <class Test>
void withEveryForm(Test test) {
    const std::pair<Form, const char*> forms[] = {
        {Form::kPlain, "plain"}, {Form::kAvx2, "AVX2"}, {Form::kAvx512, "AVX-512"}};
    for (const auto& [form, name] : forms)
        if (numerics::hasForm(form)) {
            SCOPED_TRACE(name);
            numerics::useForm(form);
            test();
        }
    numerics::useForm(Form::kAutomatic);
}

enum class Kind { kReal, kSmallIntegers };

template <class T>
ZtDMatrix<T> randomMatrix(std::mt19937& random, int rows, int columns, Kind kind = Kind::kReal) {
    std::uniform_real_distribution<double> real(-1, 1);
    ZtDMatrix<T> matrix(rows, columns);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < columns; ++j)
            matrix(i, j) = kind == Kind::kReal ? static_cast<T>(real(random))
                                               : static_cast<T>(static_cast<int>(random() % 5) - 2);
    return matrix;
}

template <class T>
bool haveSameBits(const T* a, const T* b, int count) {
    return count == 0 || std::memcmp(a, b, static_cast<std::size_t>(count) * sizeof(T)) == 0;
}

template <class T>
ZtDMatrix<T> plainProduct(const ZtDMatrix<T>& a, const ZtDMatrix<T>& b) {
    ZtDMatrix<T> c(a.nRows(), b.nCols());
    for (int i = 0; i < a.nRows(); ++i)
        for (int j = 0; j < b.nCols(); ++j) {
            T sum = 0;
            for (int k = 0; k < a.nCols(); ++k)
                sum += a(i, k) * b(k, j);
            c(i, j) = sum;
        }
    return c;
}

// The inner product as the kernels define it.
template <class T>
T plainDot(const T* a, const T* b, int count) {
    constexpr std::size_t kSums = 64 / sizeof(T);
    T sums[kSums] = {};
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
        sums[i % kSums] += a[i] * b[i];
    for (std::size_t half = kSums / 2; half > 0; half /= 2)
        for (std::size_t s = 0; s < half; ++s)
            sums[s] += sums[s + half];
    return sums[0];
}

/// Gaussian elimination row by row, the oracle of the blocked one.
template <class T>
class PlainSolver {
public:
    explicit PlainSolver(const ZtDMatrix<T>& a) : a_(a), lr_(a), n_(a.nRows()) {
        for (int i = 0; i < n_; ++i)
            rows_.push_back(lr_[i]);
        order_.resize(rows_.size());
        for (int i = 0; i < n_; ++i)
            order_[at(i)] = i;
    }

    bool decompose() {
        for (int k = 0; k < n_; ++k) {
            int pivot = k;
            for (int i = k + 1; i < n_; ++i)
                if (std::fabs(row(i)[k]) >= std::fabs(row(pivot)[k]))
                    pivot = i;
            std::swap(rows_[at(k)], rows_[at(pivot)]);
            std::swap(order_[at(k)], order_[at(pivot)]);
            if (row(k)[k] == 0)
                return false;
            for (int i = k + 1; i < n_; ++i) {
                row(i)[k] /= row(k)[k];
                for (int j = k + 1; j < n_; ++j)
                    row(i)[j] -= row(i)[k] * row(k)[j];
            }
        }
        return true;
    }

    std::vector<T> solve(const std::vector<T>& b) const {
        std::vector<T> x(b.size(), 0), r = b;
        for (int round = 0; norm(r) > 1e-5 * norm(b) && round < 10; ++round) {
            const std::vector<T> d = substitute(r);
            for (int i = 0; i < n_; ++i)
                x[at(i)] += d[at(i)];
            for (int i = 0; i < n_; ++i)
                r[at(i)] = b[at(i)] - plainDot(a_[i], x.data(), n_);
        }
        return x;
    }

private:
    static std::size_t at(int i) { return static_cast<std::size_t>(i); }
    T* row(int i) const { return rows_[at(i)]; }

    static double norm(const std::vector<T>& v) {
        double sum = 0;
        for (const T value : v)
            sum += static_cast<double>(value) * static_cast<double>(value);
        return std::sqrt(sum);
    }

    std::vector<T> substitute(const std::vector<T>& r) const {
        std::vector<T> x(r.size());
        for (int i = 0; i < n_; ++i) {
            const int first = i / 8 * 8;
            x[at(i)] = r[at(order_[at(i)])] - plainDot(row(i), x.data(), first);
            for (int k = first; k < i; ++k)
                x[at(i)] -= row(i)[k] * x[at(k)];
        }
        for (int i = n_ - 1; i >= 0; --i) {
            const int end = std::min(n_, i / 8 * 8 + 8);
            x[at(i)] -= plainDot(row(i) + end, x.data() + end, n_ - end);
            for (int k = end - 1; k > i; --k)
                x[at(i)] -= row(i)[k] * x[at(k)];
            x[at(i)] /= row(i)[i];
        }
        return x;
    }

    const ZtDMatrix<T>& a_;
    ZtDMatrix<T> lr_;
    int n_;
    std::vector<T*> rows_;
    std::vector<int> order_;
};

TEST(DMatrixStorage, AgreesWithAPlainBlock) {
    std::mt19937 random(1);
    ZtDMatrix<int> matrix;
    std::vector<int> model;
    for (int step = 0; step < 300; ++step) {
        const int rows = static_cast<int>(random() % 40) - 2;
        const int columns = static_cast<int>(random() % 40) - 2;
        matrix.resize(rows, columns);
        ASSERT_EQ(std::max(rows, 0), matrix.nRows());
        ASSERT_EQ(std::max(columns, 0), matrix.nCols());
        const std::size_t size = static_cast<std::size_t>(matrix.nRows() * matrix.nCols());
        ASSERT_EQ(size == 0, matrix.dataPtr() == nullptr);
        const std::size_t kept = std::min(size, model.size());
        ASSERT_TRUE(
            std::equal(model.begin(), model.begin() + static_cast<long>(kept), matrix.dataPtr()))
            << "what both blocks have keeps its place";
        model.assign(size, 0);
        for (std::size_t i = 0; i < size; ++i)
            model[i] = matrix.dataPtr()[i] = static_cast<int>(random());
        ZtDMatrix<int> turned(matrix);
        turned.transpose();
        ASSERT_EQ(matrix.nRows(), turned.nCols());
        for (int i = 0; i < matrix.nRows(); ++i)
            for (int j = 0; j < matrix.nCols(); ++j)
                ASSERT_EQ(matrix[i][j], turned(j, i));
        matrix = *&matrix;
        matrix = turned.transpose();
    }
    EXPECT_THROW(ZtDMatrix<double>(1 << 30, 1 << 30).resize(2, 2), ZtMemoryException);
    if (kChecked) {
        ContractCapture capture;
        EXPECT_THROW(matrix[matrix.nRows()], BrokenContract);
        EXPECT_THROW(ZtDMatrix<int>(2, 2)(1, 2), BrokenContract);
    }
}

template <class T>
void expectProductsAgree(std::mt19937& random) {
    for (int trial = 0; trial < 120; ++trial) {
        const int limit = trial % 12 == 0 ? 200 : 40;
        const auto size = [&] { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
        const ZtDMatrix<T> a = randomMatrix<T>(random, size(), size());
        const ZtDMatrix<T> b = randomMatrix<T>(random, a.nCols(), size());
        ZtDMatrix<T> product(a);
        product *= b;
        const ZtDMatrix<T> expected = plainProduct(a, b);
        ASSERT_EQ(expected.nCols(), product.nCols());
        ASSERT_TRUE(haveSameBits(expected.dataPtr(), product.dataPtr(), a.nRows() * b.nCols()))
            << a.nRows() << "x" << a.nCols() << " by " << b.nCols();
    }
}

TEST(DMatrixProduct, SumsInOrderInEveryForm) {
    std::mt19937 random(2);
    withEveryForm([&] {
        expectProductsAgree<float>(random);
        expectProductsAgree<double>(random);
    });
    expectProductsAgree<int>(random);
}

TEST(DMatrixProduct, OfItselfAndOfWhatDoesNotFit) {
    std::mt19937 random(3);
    ZtDMatrix<float> square = randomMatrix<float>(random, 21, 21);
    const ZtDMatrix<float> expected = plainProduct(square, square);
    square *= square;
    CaptureStderr();
    EXPECT_EQ(&square, &(square *= ZtDMatrix<float>(4, 5)));
    EXPECT_EQ("ZtDMatrix:operator*: Can not multiply 21x21 matrix by 4x5 matrix.\n",
              GetCapturedStderr());
    EXPECT_EQ(21, square.nCols());
    EXPECT_TRUE(haveSameBits(expected.dataPtr(), square.dataPtr(), 21 * 21));
}

template <class T>
void expectSolutionsAgree(std::mt19937& random) {
    int numSingular = 0;
    for (int trial = 0; trial < 150; ++trial) {
        const int n =
            trial < 40 ? trial : static_cast<int>(random() % (trial % 10 == 0 ? 180u : 40u));
        // Small integers have ties among the pivots.
        const Kind kind = trial % 2 == 0 ? Kind::kReal : Kind::kSmallIntegers;
        ZtDMatrix<T> a = randomMatrix<T>(random, n, n, kind);
        if (trial % 10 == 5 && n > 0)
            a(static_cast<int>(random() % static_cast<unsigned>(n)), 0) =
                std::numeric_limits<T>::quiet_NaN();
        if (trial % 12 == 2)
            for (int i = 0; i < n; ++i)
                a(i, n / 2) = 0;
        const ZtDMatrix<T> b = randomMatrix<T>(random, 2, n);
        ZtDMatrix<T> x(b);
        T* rhs[] = {x[0], x[1]};
        CaptureStderr();
        CaptureStdout();
        const int failed = a.solveLRdecomp(rhs, 2);
        const std::string errors = GetCapturedStderr();
        GetCapturedStdout();
        PlainSolver<T> plain(a);
        ASSERT_EQ(plain.decompose() ? 0 : 1, failed) << n << ": " << errors;
        numSingular += failed;
        for (int j = 0; j < 2; ++j) {
            std::vector<T> expected(b[j], b[j] + n);
            if (!failed)
                expected = plain.solve(expected);
            for (int i = 0; i < n; ++i)
                ASSERT_TRUE(
                    x(j, i) == expected[static_cast<std::size_t>(i)] ||
                    (std::isnan(x(j, i)) && std::isnan(expected[static_cast<std::size_t>(i)])))
                    << "n " << n << ", x " << i << ": " << x(j, i);
        }
    }
    EXPECT_GT(numSingular, 3);
}

TEST(DMatrixSolve, DoesWhatThePlainLoopsDoInEveryForm) {
    std::mt19937 random(4);
    withEveryForm([&] {
        expectSolutionsAgree<float>(random);
        expectSolutionsAgree<double>(random);
    });
}

TEST(DMatrixSolve, KeepsToItsTexts) {
    const std::string singular = "ZtDMatrix::solveLRdecomp: Singular Matrix-2\ni, n: ";
    const struct {
        const char* name;
        std::vector<float> elements;  // of a square matrix, row by row
        std::vector<float> b, x;
        std::string errors = "";
    } rows[] = {
        {"nothing", {}, {}, {}},
        {"rhs of zeros", {2, 1, 1, 3}, {0, 0}, {0, 0}},
        {"exact", {0, 2, 4, 0}, {6, 8}, {2, 3}},
        {"huge rhs", {2, 0, 0, 4}, {1e30f, 1e30f}, {0.5e30f, 0.25e30f}},
        {"tiny rhs", {2, 0, 0, 4}, {1e-30f, 1e-30f}, {0.5e-30f, 0.25e-30f}},
        {"singular at once", {0}, {7}, {7}, singular + "0 1\n"},
        {"singular at last", {1, 2, 2, 4}, {5, 6}, {5, 6}, singular + "1 2\n"},
        {"NaN in rhs", {1, 0, 0, 1}, {1, kNaN}, {0, 0}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const int n = static_cast<int>(row.b.size());
        ZtDMatrix<float> a(n, n);
        std::copy(row.elements.begin(), row.elements.end(), a.dataPtr());
        std::vector<float> x = row.b;
        float* rhs[] = {x.data()};
        CaptureStderr();
        CaptureStdout();
        EXPECT_EQ(row.errors.empty() ? 0 : 1, a.solveLRdecomp(rhs, 1));
        EXPECT_EQ(row.errors, GetCapturedStderr());
        EXPECT_EQ("", GetCapturedStdout());
        EXPECT_EQ(row.x, x);
    }
    CaptureStderr();
    EXPECT_EQ(1, ZtDMatrix<float>(2, 3).solveLRdecomp(nullptr, 0));
    EXPECT_EQ("ZtDMatrix::solveLRdecomp: must be a square matrix.\n", GetCapturedStderr());
}

// Hilbert's matrix in single precision: the solution is not reached.
TEST(DMatrixSolve, WarnsOfAResidualThatStays) {
    constexpr int kSize = 12;
    ZtDMatrix<float> a(kSize, kSize);
    for (int i = 0; i < kSize; ++i)
        for (int j = 0; j < kSize; ++j)
            a(i, j) = 1.f / static_cast<float>(i + j + 1) * (i == 0 ? 1e6f : 1);
    std::vector<float> x(kSize);
    x[kSize - 1] = 1;
    float* rhs[] = {x.data()};
    CaptureStdout();
    EXPECT_EQ(0, a.solveLRdecomp(rhs, 1));
    const std::string output = GetCapturedStdout();
    double ratio = 0;
    ASSERT_EQ(1,
              std::sscanf(output.c_str(), "Warning: norm(residuum) / norm(rhs) = %lg \n", &ratio))
        << output;
    EXPECT_GT(ratio, 1e-4);
    EXPECT_EQ(" \n", output.substr(output.size() - 2));
}

TEST(DMatrixSolve, ReportsExhaustedMemoryByItself) {
    for (const int n : {3, 300}) {
        std::mt19937 random(5);
        const ZtDMatrix<float> a = randomMatrix<float>(random, n, n);
        std::vector<float> x(static_cast<std::size_t>(n), 1);
        float* rhs[] = {x.data()};
        const int numArrays = n > 100 ? 1 : 0;  // a small system needs rows only
        for (const int failing : {0, 1, numArrays + n - 1}) {
            AllocationWatch watch;
            watch.failAfter(failing);
            CaptureStderr();
            EXPECT_EQ(1, a.solveLRdecomp(rhs, 1));
            const std::string row = " (" + std::to_string(failing - numArrays) + ")";
            EXPECT_EQ("ZtDMatrix::solveLRdecomp: Not Enough Memory" +
                          (failing < numArrays ? "" : row) + ".\n",
                      GetCapturedStderr());
            EXPECT_EQ(0, watch.liveBlocks());
            EXPECT_EQ(1, x[0]);
        }
    }
}

struct Progress : ZtProgressInterface {
    void setProgressValue(float value) override { values.push_back(value); }
    int wasInterrupted() override { return static_cast<int>(values.size()) == stopAt; }
    void startWorking(const char*) override { ADD_FAILURE(); }
    void stopWorking() override { ADD_FAILURE(); }

    std::vector<float> values;
    int stopAt = -1;
};

TEST(DMatrixSolve, TellsItsProgressAndStopsWhenAsked) {
    std::mt19937 random(6);
    const ZtDMatrix<float> a = randomMatrix<float>(random, 50, 50);
    std::vector<float> x(50, 1);
    float* rhs[] = {x.data()};
    Progress progress;
    EXPECT_EQ(0, a.solveLRdecomp(rhs, 1, &progress));
    EXPECT_EQ((std::vector<float>{1.f / 50, 21.f / 50, 41.f / 50}), progress.values);
    const std::vector<float> before = x;
    progress.stopAt = 5;
    AllocationWatch watch;
    CaptureStderr();
    EXPECT_EQ(1, a.solveLRdecomp(rhs, 1, &progress));
    EXPECT_EQ("", GetCapturedStderr());
    EXPECT_EQ(5u, progress.values.size());
    EXPECT_EQ(before, x);
    EXPECT_EQ(0, watch.liveBlocks());
}

template <class T>
void expectDecomposition(const ZtDMatrix<T>& a) {
    const int m = a.nRows(), n = a.nCols();
    ZtDMatrix<T> u, v;
    std::vector<T> w(static_cast<std::size_t>(n), -1);
    ASSERT_EQ(1, a.svd(u, w.data(), v));
    ASSERT_TRUE(u.nRows() == m && u.nCols() == n && v.nRows() == n && v.nCols() == n);
    double largest = 0;
    for (const T value : w) {
        ASSERT_GE(value, 0);
        largest = std::max(largest, static_cast<double>(value));
    }
    const double epsilon =
        static_cast<double>(std::numeric_limits<T>::epsilon()) * (8 + 2 * std::max(m, n));
    // A row times a row, the products multiplied by `scales`.
    const auto dot = [](const ZtDMatrix<T>& left, int i, const ZtDMatrix<T>& right, int j,
                        const T* scales) {
        double sum = 0;
        for (int k = 0; k < left.nCols(); ++k)
            sum += static_cast<double>(left(i, k)) * static_cast<double>(right(j, k)) *
                   (scales ? static_cast<double>(scales[k]) : 1);
        return sum;
    };
    ZtDMatrix<T> thin(u);  // the rows of U, or its columns, whichever are fewer
    if (m >= n)
        thin.transpose();
    for (int i = 0; i < std::min(m, n); ++i)
        for (int j = 0; j < std::min(m, n); ++j)
            ASSERT_NEAR(i == j, dot(thin, i, thin, j, nullptr), epsilon) << i << ", " << j;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            ASSERT_NEAR(i == j, dot(v, i, v, j, nullptr), epsilon) << i << ", " << j;
    const double tolerance = epsilon * largest + std::numeric_limits<T>::denorm_min() * 4;
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < n; ++j)
            ASSERT_NEAR(static_cast<double>(a(i, j)), dot(u, i, v, j, w.data()), tolerance)
                << i << ", " << j;
}

template <class T>
void expectDecompositions(std::mt19937& random) {
    for (int trial = 0; trial < 400; ++trial) {
        const int limit = trial % 20 == 0 ? 60 : 6;
        const int m = trial % 2 ? 3 : static_cast<int>(random() % static_cast<unsigned>(limit));
        const int n = trial % 2 ? 3 : static_cast<int>(random() % static_cast<unsigned>(limit));
        SCOPED_TRACE(std::to_string(m) + " x " + std::to_string(n) + ", trial " +
                     std::to_string(trial));
        ZtDMatrix<T> a =
            randomMatrix<T>(random, m, n, trial % 3 ? Kind::kReal : Kind::kSmallIntegers);
        const int rank = trial % 5;  // up to 3: a product of thin matrices
        if (rank < 4) {
            a = randomMatrix<T>(random, m, rank);
            a *= randomMatrix<T>(random, rank, n);
        }
        const int exponents[] = {0, 30, 100, -30, -60, -100};
        const int exponent = exponents[trial % 6];
        for (T* element = a.dataPtr(); element != a.dataPtr() + m * n; ++element)
            *element = std::ldexp(*element, exponent);
        expectDecomposition(a);
    }
}

TEST(DMatrixSvd, GivesOrthonormalFactorsOfAnyMatrix) {
    std::mt19937 random(7);
    withEveryForm([&] {
        expectDecompositions<float>(random);
        expectDecompositions<double>(random);
    });
}

TEST(DMatrixSvd, MayReplaceTheMatrixItself) {
    std::mt19937 random(8);
    for (const auto& [m, n] : {std::pair(4, 2), std::pair(3, 3), std::pair(2, 5)}) {
        const ZtDMatrix<float> a = randomMatrix<float>(random, m, n);
        ZtDMatrix<float> u, v, left(a), right(a), other;
        float w[5];
        a.svd(u, w, v);
        left.svd(left, w, other);
        EXPECT_TRUE(haveSameBits(u.dataPtr(), left.dataPtr(), m * n));
        right.svd(other, w, right);
        EXPECT_TRUE(haveSameBits(v.dataPtr(), right.dataPtr(), n * n));
    }
}

TEST(DMatrixSvd, GivesUpAfterTheIterationsThatItIsGiven) {
    const struct {
        float elements[4];
        int maxIterations;
        int result;
    } rows[] = {
        {{3, 0, 0, 2}, 1, 1},
        {{3, 0, 0, 2}, -1, 1},
        {{2, 1, 0, 3}, 1, 0},
        {{2, 1, 0, 3}, 0, 0},
        {{2, 1, 0, 3}, 30, 1},
        {{kNaN, 1, 0, 3}, 30, 0},
        {{kNaN, kNaN, kNaN, kNaN}, 5, 0},
    };
    for (const auto& row : rows) {
        ZtDMatrix<float> a(2, 2), u, v;
        std::copy_n(row.elements, 4, a.dataPtr());
        float w[2];
        CaptureStdout();
        EXPECT_EQ(row.result, a.svd(u, w, v, row.maxIterations));
        EXPECT_EQ(row.result ? ""
                             : "no convergence in " + std::to_string(row.maxIterations) +
                                   " svd iterations \n",
                  GetCapturedStdout());
    }
}

}  // namespace
