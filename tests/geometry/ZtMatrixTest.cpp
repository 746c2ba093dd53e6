// The matrices: layout, products, determinants, inverses, decompositions, transforms of points.
#include <ztlib/ZtMat3f.h>
#include <ztlib/ZtMat4f.h>
#include <ztlib/ZtRotation.h>
#include <ztlib/ZtVec4f.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "ContractCapture.h"
#include "Reference.h"

namespace {

using reference::bitsOf;
using reference::expectNear;
using reference::kEps;
using reference::kNaN;
using reference::magnitudes;
using reference::Random;
using reference::Square;
using reference::squareOf;

constexpr int kRounds = 500;

ZtMat3f upperLeft(const ZtMat4f& m) {
    return ZtMat3f(m[0][0], m[0][1], m[0][2], m[1][0], m[1][1], m[1][2], m[2][0], m[2][1], m[2][2]);
}

// The determinant as the sum over all permutations, and the sum of the terms' magnitudes.
template <std::size_t N>
std::pair<double, double> leibniz(const Square<N>& m) {
    int columns[N];
    for (int i = 0; i < int(N); ++i)
        columns[i] = i;
    double sum = 0;
    double magnitude = 0;
    do {
        double term = 1;
        for (int i = 0; i < int(N); ++i) {
            term *= m[i][columns[i]];
            for (int k = 0; k < i; ++k)
                term *= columns[k] > columns[i] ? -1 : 1;
        }
        sum += term;
        magnitude += std::abs(term);
    } while (std::next_permutation(columns, columns + N));
    return {sum, magnitude};
}

template <std::size_t N, class M>
void expectNaNOneByOne(M m) {
    m.makeNaN();
    EXPECT_FALSE(m.isNumber());
    EXPECT_EQ(0x7FC00000u, bitsOf(m[N - 1][N - 1]));
    for (int i = 0; i < int(N); ++i)
        for (int j = 0; j < int(N); ++j) {
            EXPECT_EQ(0x7FC00000u, bitsOf(m[i][j]));
            M one = M::identity();
            EXPECT_TRUE(one.isNumber());
            one[i][j] = kNaN;
            EXPECT_FALSE(one.isNumber() || one == one);
        }
}

TEST(Matrices, StoreRowsAndTakeVectorsAsStated) {
    const ZtMat3f columns(ZtVec3f(1, 2, 3), ZtVec3f(4, 5, 6), ZtVec3f(7, 8, 9));
    EXPECT_EQ(ZtMat3f(1, 4, 7, 2, 5, 8, 3, 6, 9), columns);
    EXPECT_EQ(ZtMat3f(1, 2, 3, 4, 5, 6, 7, 8, 9), columns.transpose());
    ZtMat4f rows;
    rows.setValue(ZtVec3f(1, 2, 3), ZtVec3f(4, 5, 6), ZtVec3f(7, 8, 9), ZtVec3f(10, 11, 12));
    EXPECT_EQ(ZtMat4f(1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 10, 11, 12, 1), rows);
    EXPECT_EQ(ZtMat4f(1, 4, 7, 10, 2, 5, 8, 11, 3, 6, 9, 12, 0, 0, 0, 1), rows.transpose());
    float elements[4][4];
    rows.getValue(elements);
    EXPECT_EQ(0, std::memcmp(elements, rows[0], sizeof elements));
    ZtMat4f copy;
    EXPECT_EQ(ZtMat4f(elements), copy = elements);
    float few[3][3];
    columns.getValue(few);
    EXPECT_EQ(columns, ZtMat3f(few));
    EXPECT_EQ(15, columns.trace());

    EXPECT_EQ(ZtMat4f(2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1),
              copy.setScale(ZtVec3f(2, 3, 4)));
    EXPECT_EQ(ZtVec3f(5, 6, 7), ZtVec3f(copy.setTranslate(ZtVec3f(5, 6, 7))[3]));
    for (int i = 0; i < 16; ++i) {
        ZtMat4f almost = ZtMat4f::identity();
        EXPECT_TRUE(almost.isIdentity());
        almost[i / 4][i % 4] += 1e-7f;
        EXPECT_FALSE(almost.isIdentity() || almost == ZtMat4f::identity());
        EXPECT_TRUE(almost.equals(ZtMat4f::identity(), 2e-7f));
        EXPECT_FALSE(almost.equals(ZtMat4f::identity(), 1e-8f));
        almost[i / 4][i % 4] = kNaN;
        EXPECT_FALSE(almost.equals(almost, 1e30f));
    }
    expectNaNOneByOne<3>(ZtMat3f());
    expectNaNOneByOne<4>(ZtMat4f());
    ContractCapture capture;
    if (kChecked) {
        EXPECT_THROW(copy[4], BrokenContract);
    }
}

TEST(Matrices, PrintWritesRowsWithTabs) {
    std::FILE* const file = std::tmpfile();
    ASSERT_TRUE(file);
    ZtMat3f(1, -2.5f, 1e-7f, 0, 123456, 7, 8, 9, 10).print(file);
    std::rewind(file);
    std::string text;
    for (int c; (c = std::fgetc(file)) != EOF;)
        text += static_cast<char>(c);
    std::fclose(file);
    char expected[200];
    std::snprintf(expected, sizeof expected, "%10.5g\t%10.5g\t%10.5g\n%10.5g\t%10.5g\t%10.5g\n",
                  1.0, -2.5, 1e-7, 0.0, 123456.0, 7.0);
    EXPECT_EQ(std::string(expected) + "         8\t         9\t        10\n", text);
}

// Each sum of n products is rounded 2 n - 1 times at most, each time by half a unit in the last
// place of a sum that the magnitudes bound.
TEST(Matrices, ProductsAgreeWithBruteForce) {
    Random random(1);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        const ZtMat4f a = random.matrix();
        const ZtMat4f b = random.matrix();
        const auto a64 = squareOf<4>(a);
        const auto b64 = squareOf<4>(b);
        expectNear<4>(a64 * b64, a * b, 7, magnitudes(a64) * magnitudes(b64));
        EXPECT_EQ(a * b, ZtMat4f(a).multRight(b));
        EXPECT_EQ(a * b, ZtMat4f(b).multLeft(a));
        ZtMat4f own = a;
        EXPECT_EQ(a * a, own *= own);
        own = a;
        EXPECT_EQ(a * a, own.multLeft(own));

        const ZtMat3f a3 = upperLeft(a);
        const ZtMat3f b3 = upperLeft(b);
        const auto a364 = squareOf<3>(a3);
        const auto b364 = squareOf<3>(b3);
        expectNear<3>(a364 * b364, a3 * b3, 5, magnitudes(a364) * magnitudes(b364));
        EXPECT_EQ(a3 * b3, ZtMat3f(b3).multLeft(a3));
        ZtMat3f own3 = a3;
        EXPECT_EQ(a3 * a3, own3 *= own3);

        const ZtVec3f v = random.vector();
        const ZtVec4f v4(v.x, v.y, v.z, random.number());
        for (const bool asRow : {true, false}) {
            ZtVec4f image = v4;
            asRow ? a.multVecMatrix(image, image) : a.multMatrixVec(image, image);
            ZtVec3f point = v;
            asRow ? a.multVecMatrix(point, point) : a.multMatrixVec(point, point);
            ZtVec3f linear = v;
            asRow ? a3.multVecMatrix(linear, linear) : a3.multMatrixVec(linear, linear);
            ZtVec3f direction = v;
            a.multDirMatrix(direction, direction);
            double sums[4] = {};
            double homogeneous[4] = {};
            for (int j = 0; j < 4; ++j)
                for (int i = 0; i < 4; ++i) {
                    const double element = asRow ? a64[i][j] : a64[j][i];
                    sums[j] += v4[i] * element;
                    homogeneous[j] += (i < 3 ? v4[i] : 1.0) * element;
                }
            for (int j = 0; j < 4; ++j)
                EXPECT_NEAR(sums[j], image[j], 7 * kEps / 2 * 4);
            for (int j = 0; j < 3; ++j) {
                const double w = homogeneous[3];
                const double size = 4 * (1 + std::abs(homogeneous[j] / w)) / std::abs(w);
                EXPECT_NEAR(homogeneous[j] / w, point[j], 10 * kEps / 2 * size);
                const double last = asRow ? a64[3][j] : a64[j][3];
                EXPECT_NEAR(homogeneous[j] - last, linear[j], 5 * kEps / 2 * 3);
                if (asRow) {
                    EXPECT_EQ(linear[j], direction[j]);
                }
            }
        }
    }
}

TEST(Matrices, DeterminantsAndMinorsAgreeWithTheSumOverPermutations) {
    Random random(2);
    for (int round = 0; round < kRounds; ++round) {
        const ZtMat4f m = random.matrix();
        const auto expectDet = [](auto reference, float actual) {
            EXPECT_NEAR(reference.first, actual,
                        kEps / 2 * std::abs(reference.first) + 1e-15 * reference.second);
        };
        expectDet(leibniz<4>(squareOf<4>(m)), m.det4());
        expectDet(leibniz<3>(squareOf<3>(m)), m.det3());
        expectDet(leibniz<3>(squareOf<3>(m)), upperLeft(m).det());
        const int r[3] = {random.below(4), random.below(4), random.below(4)};
        const int c[3] = {random.below(4), random.below(4), random.below(4)};
        Square<3> chosen;
        for (int i = 0; i < 9; ++i)
            chosen[i / 3][i % 3] = m[r[i / 3]][c[i % 3]];
        expectDet(leibniz<3>(chosen), m.det3(r[0], r[1], r[2], c[0], c[1], c[2]));
        for (int i = 0; i < 9; ++i) {
            Square<3> unit = squareOf<3>(m);  // whose determinant is the cofactor
            for (int k = 0; k < 3; ++k)
                unit[i / 3][k] = k == i % 3;
            expectDet(leibniz<3>(unit), upperLeft(m).subdet(i / 3, i % 3));
        }
    }
}

// Expects that the rounded inverse times m is the identity but for the rounding of its elements.
template <std::size_t N, class M>
void expectInverse(const M& m, const M& inverse, double roundings) {
    const auto m64 = squareOf<N>(m);
    const auto inverse64 = squareOf<N>(inverse);
    expectNear<N>(Square<N>::identity(), inverse64 * m64, roundings,
                  magnitudes(inverse64) * magnitudes(m64));
}

// Inverses are computed in double precision, so their elements are rounded once (3 x 3: also by the
// determinant, which is a float), and the condition costs nothing.
TEST(Matrices, InversesAreRoundedOnce) {
    Random random(3);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        ZtMat4f affine = random.affine();
        if (round % 4 == 1)
            affine = ZtMat4f().setScale(1e-12f) * affine;
        if (round % 4 == 2)  // nearly flat
            for (int j = 0; j < 3; ++j)
                affine[2][j] = affine[0][j] - affine[1][j] + 1e-4f * random.number();
        ZtMat4f inverse;
        ASSERT_EQ(1, ZtMat4f::affine_inverse(affine, inverse));
        expectInverse<4>(affine, inverse, 1.01);
        EXPECT_EQ(inverse, affine.inverse());
        ZtMat4f own = affine;
        EXPECT_EQ(1, ZtMat4f::affine_inverse(own, own));
        EXPECT_EQ(inverse, own);

        const ZtMat4f projective = random.matrix();
        EXPECT_EQ(0, ZtMat4f::affine_inverse(projective, inverse));
        expectInverse<4>(projective, projective.inverse(), 1.01);

        ZtMat3f three = upperLeft(affine);
        if (three.det() != 0) {
            expectInverse<3>(three, three.inverse(), 2.01);
            EXPECT_EQ(three.inverse(), three.inverse(three.det()));
        }
        const ZtMat3f symmetric = three * three.transpose();
        ZtMat3f upper = symmetric;
        upper[1][0] = upper[2][0] = upper[2][1] = kNaN;  // not read
        EXPECT_EQ(symmetric.inverse(symmetric.det()), upper.symmInverse(symmetric.det()));
    }
}

TEST(Matrices, InversesOfSingularMatricesAreAsStated) {
    EXPECT_EQ(ZtMat3f(), ZtMat3f().inverse());
    // 1 2 3 / 4 5 6 / 7 8 9 has determinant 0; its adjugate comes out.
    EXPECT_EQ(ZtMat3f(-3, 6, -3, 6, -12, 6, -3, 6, -3),
              ZtMat3f(1, 2, 3, 4, 5, 6, 7, 8, 9).inverse());

    ZtMat4f out = ZtMat4f::identity();
    ZtMat4f flat(1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 1, 1, 1, 1);
    EXPECT_EQ(0, ZtMat4f::affine_inverse(flat, out));
    ZtMat4f none = ZtMat4f().setTranslate(ZtVec3f(1, 2, 3));
    none[0][0] = none[1][1] = none[2][2] = 0;
    EXPECT_EQ(0, ZtMat4f::affine_inverse(none, out));
    EXPECT_TRUE(out.isIdentity());
    EXPECT_EQ(none, none.inverse());
    EXPECT_TRUE(ZtMat4f::identity().inverse().isIdentity());
    const ZtMat4f mirror = ZtMat4f().setScale(ZtVec3f(1, -2, 4)).inverse();
    EXPECT_EQ(ZtMat4f().setScale(ZtVec3f(1, -0.5f, 0.25f)), mirror);
    for (const float component : {mirror[3][0], mirror[3][1], mirror[3][2], mirror[1][3]})
        EXPECT_FALSE(std::signbit(component));
    // A last column that is not exactly (0, 0, 0, 1), in each of its places.
    for (int i = 0; i < 4; ++i) {
        ZtMat4f m = ZtMat4f().setScale(2);
        m[i][3] += 1e-6f;
        EXPECT_EQ(0, ZtMat4f::affine_inverse(m, out));
        expectInverse<4>(m, m.inverse(), 1.01);
    }
}

template <std::size_t N, class M>
void expectFactors(const M& m, const M& factors, const int* index, float parity) {
    Square<N> lower = Square<N>::identity();
    Square<N> upper{};
    Square<N> permuted = squareOf<N>(m);
    double swaps = 1;
    for (int i = 0; i < int(N); ++i) {
        for (int j = 0; j < int(N); ++j)
            (j < i ? lower : upper)[i][j] = factors[i][j];
        std::swap_ranges(permuted[i], permuted[i] + N, permuted[index[i]]);
        swaps *= index[i] == i ? 1 : -1;
        EXPECT_GE(index[i], i);
    }
    EXPECT_EQ(swaps, parity);
    expectNear<N>(permuted, lower * upper, 2.0 * N, magnitudes(lower) * magnitudes(upper));
}

TEST(Matrices, LuFactorsMultiplyToThePermutedMatrixAndSolve) {
    Random random(4);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        const ZtMat4f m = random.matrix();
        ZtMat4f factors = m;
        int index[4];
        float parity = 0;
        ASSERT_EQ(1, factors.LUDecomposition(index, parity));
        expectFactors<4>(m, factors, index, parity);
        ZtMat3f factors3 = upperLeft(m);
        int index3[3];
        float parity3 = 0;
        ASSERT_EQ(1, factors3.LUDecomposition(index3, parity3));
        expectFactors<3>(upperLeft(m), factors3, index3, parity3);

        float b[4] = {0, round % 2 ? 0.0f : 1.0f, random.number(), random.number()};
        const ZtVec4f right(b);
        factors.LUBackSubstitution(index, b);
        const ZtVec4f x(b);
        ZtVec4f left;
        m.multMatrixVec(x, left);
        // The residual is small against |L| |U| |x| whatever the condition.
        EXPECT_LT((left - right).length(), 100 * kEps * x.length());
    }
}

TEST(Matrices, LuTakesTheLaterOfEqualPivotsAndHandlesZeros) {
    struct Row {
        const char* name;
        ZtMat4f m;
        int first;  // the row that step 0 exchanges with row 0
    };
    const auto matrix = [](float a, float b, float c, float d) {
        return ZtMat4f(a, 1, 0, 0, b, 0, 1, 0, c, 0, 0, 1, d, 1, 1, 2);
    };
    for (const Row& row :
         {Row{"all equal", matrix(1, 1, 1, 2), 3}, Row{"two equal", matrix(1, 1, 0.5f, 0), 1},
          Row{"the larger, scaled by its row", matrix(0.25f, 1, 0.5f, 1.5f), 1}}) {
        SCOPED_TRACE(row.name);
        ZtMat4f m = row.m;
        int index[4];
        float parity;
        EXPECT_EQ(1, m.LUDecomposition(index, parity));
        EXPECT_EQ(row.first, index[0]);
    }
    int index[4];
    float parity;
    ZtMat4f pivotless(1, 1, 0, 0, 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
    EXPECT_EQ(1, pivotless.LUDecomposition(index, parity));
    EXPECT_EQ(1e-20f, pivotless[1][1]);
    ZtMat4f zeroRow(1, 2, 3, 4, 0, 0, 0, 0, 1, 0, 0, 1, 2, 2, 1, 0);
    const ZtMat4f before = zeroRow;
    EXPECT_EQ(0, zeroRow.LUDecomposition(index, parity));
    EXPECT_EQ(before, zeroRow);
    EXPECT_EQ(0, ZtMat3f(1, 2, 3, 0, 0, 0, 4, 5, 6).LUDecomposition(index, parity));
    EXPECT_EQ(0, ZtMat3f(1, 1, 0, 1, 1, 0, 0, 0, 1).LUDecomposition(index, parity));
}

TEST(Matrices, JacobiFindsEigenvectorsOfSymmetricMatrices) {
    Random random(5);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        const ZtMat3f part = upperLeft(random.matrix());
        const ZtMat3f a = round % 3 ? part * part.transpose() : part;
        ZtMat3f m = a;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < i; ++j)
                m[i][j] = kNaN;  // not read
        float values[3];
        ZtVec3f vectors[3];
        int rotations = -1;
        m.jacobi(values, vectors, rotations);
        EXPECT_GT(rotations, 0);
        for (int k = 0; k < 3; ++k) {
            const ZtVec3d v(vectors[k]);
            for (int i = 0; i < 3; ++i) {
                double image = 0;
                for (int j = 0; j < 3; ++j)
                    image += double(i < j ? a[i][j] : a[j][i]) * v[j];
                EXPECT_NEAR(image, values[k] * v[i], 30 * kEps);
            }
            EXPECT_NEAR(1, v.length(), 10 * kEps);
            EXPECT_NEAR(0, v.dot(ZtVec3d(vectors[(k + 1) % 3])), 10 * kEps);
        }
        EXPECT_GT(vectors[0].cross(vectors[1]).dot(vectors[2]), 0);
        float again[3];
        ZtVec3f vectorsAgain[3];
        ZtMat4f embedded = ZtMat4f::identity();
        for (int i = 0; i < 9; ++i)
            embedded[i / 3][i % 3] = a[i / 3][i % 3];
        embedded.jacobi3(again, vectorsAgain, rotations);
        EXPECT_TRUE(std::equal(values, values + 3, again) && vectors[1] == vectorsAgain[1]);
    }
}

TEST(Matrices, JacobiOfADiagonalReturnsAtOnceAndOfNaNSaysSo) {
    float values[3];
    ZtVec3f vectors[3];
    int rotations = -1;
    ZtMat3f(3, 0, 0, 0, 1, 0, 0, 0, 2).jacobi(values, vectors, rotations);
    EXPECT_EQ(0, rotations);
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ((k + 2) % 3 + 1, values[k]);
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(i == k ? 1 : 0, vectors[k][i]);
    }
    vectors[0].setValue(7, 8, 9);
    testing::internal::CaptureStderr();
    ZtMat3f(1, kNaN, 0, 0, 1, 0, 0, 0, 1).jacobi(values, vectors, rotations);
    EXPECT_EQ("Too many iterations in routine jacobi\n", testing::internal::GetCapturedStderr());
    EXPECT_EQ(ZtVec3f(7, 8, 9), vectors[0]);
}

TEST(Matrices, TransformsComposeStepByStepAndComeApart) {
    Random random(6);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        const bool mirror = round % 5 == 0;
        ZtVec3f t = random.vector(), s, center = random.vector();
        for (int i = 0; i < 3; ++i)
            s[i] = (mirror ? -1.0f : 1.0f) * (1.6f + 1.5f * random.number());
        const ZtVec3f axis = random.direction(), soAxis = random.direction();
        const float angle = 3 * random.number(), soAngle = 3 * random.number();
        const ZtRotation r(axis, angle), so(soAxis, soAngle);
        ZtMat4f m;
        m.setTransform(t, r, s, so, center);

        const ZtVec3f p = random.vector();
        const ZtVec3d c(center);
        ZtVec3d q = reference::turned(ZtVec3d(p) - c, ZtVec3d(soAxis), -double(soAngle));
        q = ZtVec3d(q.x * s.x, q.y * s.y, q.z * s.z);
        q = reference::turned(q, ZtVec3d(soAxis), soAngle);
        q = reference::turned(q, ZtVec3d(axis), angle) + c + ZtVec3d(t);
        ZtVec3f image;
        m.multVecMatrix(p, image);
        expectNear(q, image, 60 * kEps);

        ZtVec3f t2, s2;
        ZtRotation r2, so2;
        m.getTransform(t2, r2, s2, so2, center);
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(mirror, s2[i] < 0);
        EXPECT_TRUE(ZtMat4f().setTransform(t2, r2, s2, so2, center).equals(m, float(60 * kEps)));
        EXPECT_TRUE(t2.equals(t, float(60 * kEps)));
        m.setTransform(t, r, s, so).getTransform(t2, r2, s2, so2);
        EXPECT_TRUE(ZtMat4f().setTransform(t2, r2, s2, so2).equals(m, float(30 * kEps)));
        EXPECT_TRUE(t2 == t);
    }
    EXPECT_TRUE(
        ZtMat4f().setTransform(ZtVec3f(), ZtRotation::identity(), ZtVec3f(1, 1, 1)).isIdentity());
}

// A = r^T diag(s) r u with r and u rotations, to a few roundings; where the scales lie far apart,
// the squares that are decomposed in double precision lose the square of their ratio.
TEST(Matrices, FactorIsThePolarFactorisation) {
    Random random(7);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        ZtMat4f m = random.affine();
        if (round % 3 == 0)
            m = m * ZtMat4f().setScale(ZtVec3f(1, 1e-3f, 30));
        ZtMat4f r, u, proj, scale;
        ZtVec3f s, t;
        ASSERT_TRUE(m.factor(r, s, u, t, proj));
        EXPECT_EQ(ZtVec3f(m[3]), t);
        EXPECT_TRUE(proj.isIdentity());
        const auto r64 = squareOf<4>(r);
        const auto rT = squareOf<4>(r.transpose());
        const auto u64 = squareOf<4>(u);
        const auto one = Square<4>::filled(1);
        expectNear<4>(Square<4>::identity(), r64 * rT, 6, one);
        const auto [least, most] = std::minmax({std::abs(s.x), std::abs(s.y), std::abs(s.z)});
        const double lost = 4e-16 / kEps * std::pow(double(most) / least, 2);
        expectNear<4>(Square<4>::identity(), u64 * squareOf<4>(u.transpose()), 6 + lost, one);
        EXPECT_NEAR(1, u.det3(), (6 + lost) * kEps);
        const auto size = Square<4>::filled(double(most));
        m[3][0] = m[3][1] = m[3][2] = 0;
        expectNear<4>(squareOf<4>(m), rT * squareOf<4>(scale.setScale(s)) * r64 * u64, 20, size);
        EXPECT_EQ(m.det3() < 0, s.x < 0 && s.y < 0 && s.z < 0);
        EXPECT_EQ(m.det3() > 0, s.x > 0 && s.y > 0 && s.z > 0);
    }
}

TEST(Matrices, FactorAndGetTransformOfDegenerateMatrices) {
    for (const float last : {0.0f, 0.9e-12f, -0.9e-12f, kNaN}) {
        ZtMat4f m(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, last, 0, 4, 5, 6, 1);
        ZtMat4f r, u, proj;
        ZtVec3f s(9, 9, 9), t;
        EXPECT_FALSE(m.factor(r, s, u, t, proj));
        EXPECT_EQ(ZtVec3f(4, 5, 6), t);
        EXPECT_TRUE(proj.isIdentity() && r == ZtMat4f() && s.x == 9);
        ZtRotation turn(1, 0, 0, 0), orientation(1, 0, 0, 0);
        m.getTransform(t, turn, s, orientation);
        EXPECT_EQ(ZtVec3f(4, 5, 6), t);
        EXPECT_EQ(ZtVec3f(1, 1, 1), s);
        EXPECT_TRUE(turn == ZtRotation::identity() && orientation == ZtRotation::identity());
        m[2][2] = 1.1e-12f;
        EXPECT_TRUE(m.factor(r, s, u, t, proj));
    }
}

// Numbers alike to the last bit; of what is not a number the sign is the processor's affair.
bool same(float a, float b) {
    return bitsOf(a) == bitsOf(b) || (std::isnan(a) && std::isnan(b));
}

TEST(Matrices, ArraysOfPointsAreTransformedAsSinglePointsAre) {
    Random random(8);
    for (const bool projective : {false, true}) {
        const ZtMat4f m = projective ? random.matrix() : random.affine();
        std::vector<ZtVec3f> points(100);
        for (ZtVec3f& p : points)
            p = random.vector();
        points[41].x = std::numeric_limits<float>::infinity();
        points[43].y = kNaN;
        for (int first = 0; first < 20; ++first)
            for (int count = 0; count <= 80; count = count < 20 ? count + 1 : count * 3 / 2) {
                for (const bool inPlace : {true, false}) {
                    std::vector<ZtVec3f> out = points;
                    m.multVecMatrix((inPlace ? out : points).data() + first, out.data() + first,
                                    count);
                    for (int i = 0; i < 100; ++i) {
                        ZtVec3f expected = points[static_cast<std::size_t>(i)];
                        if (i >= first && i < first + count)
                            m.multVecMatrix(expected, expected);
                        for (int k = 0; k < 3; ++k)
                            ASSERT_TRUE(same(expected[k], out[static_cast<std::size_t>(i)][k]))
                                << first << " + " << i << " of " << count;
                    }
                }
            }
    }
}

}  // namespace
