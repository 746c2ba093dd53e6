// The matrices: layout, products, determinants, inverses, decompositions, transforms of points.
#include <ztlib/ZtMat3f.h>
#include <ztlib/ZtMat4f.h>
#include <ztlib/ZtRotation.h>
#include <ztlib/ZtVec4f.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "ContractCapture.h"
#include "GeometryOracle.h"

namespace {

using namespace oracle;

constexpr int kRounds = 500;

ZtMat3f upperLeft(const ZtMat4f& m) {
    return ZtMat3f(m[0][0], m[0][1], m[0][2], m[1][0], m[1][1], m[1][2], m[2][0], m[2][1], m[2][2]);
}

// The last element counts, like all others.
template <std::size_t N, class M>
void expectNumbersInFull() {
    M m = M::identity();
    m[N - 1][N - 1] = kNaN;
    EXPECT_FALSE(m.isNumber() || m == m);
    m.makeNaN();
    EXPECT_TRUE(isMarked(m[0][0]) && isMarked(m[N - 1][N - 1]));
}

TEST(Matrices, StoreRowsAndTakeVectorsAsStated) {
    const ZtMat3f columns(ZtVec3f(1, 2, 3), ZtVec3f(4, 5, 6), ZtVec3f(7, 8, 9));
    EXPECT_EQ(ZtMat3f(1, 4, 7, 2, 5, 8, 3, 6, 9), columns);
    EXPECT_EQ(ZtMat3f(1, 2, 3, 4, 5, 6, 7, 8, 9), columns.transpose());
    ZtMat4f rows, copy;
    rows.setValue(ZtVec3f(1, 2, 3), ZtVec3f(4, 5, 6), ZtVec3f(7, 8, 9), ZtVec3f(10, 11, 12));
    EXPECT_EQ(ZtMat4f(1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 10, 11, 12, 1), rows);
    EXPECT_EQ(ZtMat4f(1, 4, 7, 10, 2, 5, 8, 11, 3, 6, 9, 12, 0, 0, 0, 1), rows.transpose());
    float elements[4][4], few[3][3];
    rows.getValue(elements);
    EXPECT_EQ(0, std::memcmp(elements, rows[0], sizeof elements));
    EXPECT_EQ(ZtMat4f(elements), copy = elements);
    columns.getValue(few);
    EXPECT_EQ(columns, ZtMat3f(few));
    EXPECT_EQ(15, columns.trace());
    expectNumbersInFull<3, ZtMat3f>();
    expectNumbersInFull<4, ZtMat4f>();
    for (int i = 0; i < 16; ++i) {
        ZtMat4f almost = ZtMat4f::identity();
        EXPECT_TRUE(almost.isIdentity());
        almost[i / 4][i % 4] += 1e-7f;
        EXPECT_FALSE(almost.isIdentity() || almost.equals(ZtMat4f::identity(), 1e-8f));
        EXPECT_TRUE(almost.equals(ZtMat4f::identity(), 2e-7f));
    }
    ContractCapture capture;
    if (kChecked) {
        EXPECT_THROW(copy[4], BrokenContract);
        const float(*none)[4] = nullptr;
        EXPECT_THROW(ZtMat4f{none}, BrokenContract);
    }
}

TEST(Matrices, PrintWritesRowsWithTabs) {
    std::FILE* const file = std::tmpfile();
    ASSERT_TRUE(file);
    ZtMat3f(1, -2.5f, 0.125f, 0, 12345.6f, 7, 8, 9, 10).print(file);
    std::rewind(file);
    char text[200] = "";
    text[std::fread(text, 1, 199, file)] = '\0';
    std::fclose(file);
    EXPECT_STREQ(
        "         1\t      -2.5\t     0.125\n         0\t     12346\t         7\n"
        "         8\t         9\t        10\n",
        text);
}

// Each sum of N products is rounded 2 N - 1 times at most, each time by half a unit in the last
// place of a sum that the magnitudes bound.
template <std::size_t N, class M>
void expectProducts(const M& a, const M& b) {
    const auto a64 = squareOf<N>(a), b64 = squareOf<N>(b);
    expectNear<N>(a64 * b64, a * b, 2.0 * N - 1, magnitudes(a64) * magnitudes(b64));
    EXPECT_EQ(a * b, M(a).multRight(b));
    EXPECT_EQ(a * b, M(b).multLeft(a));
    M own = a;
    EXPECT_EQ(a * a, own *= own);
    own = a;
    EXPECT_EQ(a * a, own.multLeft(own));
}

TEST(Matrices, ProductsAgreeWithBruteForce) {
    inRounds(1, kRounds, [](Random& random, int) {
        const ZtMat4f a = random.matrix(), b = random.matrix();
        const ZtMat3f a3 = upperLeft(a);
        expectProducts<4>(a, b);
        expectProducts<3>(a3, upperLeft(b));

        const ZtVec3f v = random.vector();
        const ZtVec4f v4(v.x, v.y, v.z, random.number());
        for (const bool asRow : {true, false}) {
            const auto m = squareOf<4>(asRow ? a : a.transpose());
            ZtVec4f image = v4;
            ZtVec3f point = v, linear = v, direction = v;
            asRow ? a.multVecMatrix(image, image) : a.multMatrixVec(image, image);
            asRow ? a.multVecMatrix(point, point) : a.multMatrixVec(point, point);
            asRow ? a3.multVecMatrix(linear, linear) : a3.multMatrixVec(linear, linear);
            a.multDirMatrix(direction, direction);
            EXPECT_TRUE(!asRow || linear == direction);
            const auto sum = [&](int j, double w) {
                return v.x * m[0][j] + v.y * m[1][j] + v.z * m[2][j] + w * m[3][j];
            };
            for (int j = 0; j < 4; ++j)
                EXPECT_NEAR(sum(j, v4[3]), image[j], 14 * kEps);
            for (int j = 0; j < 3; ++j) {
                const double w = sum(3, 1), expected = sum(j, 1) / w;
                EXPECT_NEAR(expected, point[j], 20 * kEps * (1 + std::abs(expected)) / std::abs(w));
                EXPECT_NEAR(sum(j, 0), linear[j], 7.5 * kEps);
            }
        }
    });
}

TEST(Matrices, DeterminantsAndMinorsAgreeWithTheSumOverPermutations) {
    const auto expectDet = [](auto reference, float actual) {
        EXPECT_NEAR(reference.first, actual,
                    kEps / 2 * std::abs(reference.first) + 1e-15 * reference.second);
    };
    inRounds(2, kRounds, [&](Random& random, int) {
        const ZtMat4f m = random.matrix();
        expectDet(determinant(squareOf<4>(m)), m.det4());
        expectDet(determinant(squareOf<3>(m)), upperLeft(m).det());
        const int r[3] = {random.below(4), random.below(4), random.below(4)};
        const int c[3] = {random.below(4), random.below(4), random.below(4)};
        Square<3> chosen;
        for (int i = 0; i < 9; ++i) {
            chosen[i / 3][i % 3] = m[r[i / 3]][c[i % 3]];
            Square<3> unit = squareOf<3>(m);  // whose determinant is the cofactor
            for (int k = 0; k < 3; ++k)
                unit[i / 3][k] = k == i % 3;
            expectDet(determinant(unit), upperLeft(m).subdet(i / 3, i % 3));
        }
        expectDet(determinant(chosen), m.det3(r[0], r[1], r[2], c[0], c[1], c[2]));
    });
}

// Expects that the rounded inverse times m is the identity but for the rounding of its elements.
template <std::size_t N, class M>
void expectInverse(const M& m, const M& inverse, double roundings) {
    const auto m64 = squareOf<N>(m), inverse64 = squareOf<N>(inverse);
    expectNear<N>(Square<N>::identity(), inverse64 * m64, roundings,
                  magnitudes(inverse64) * magnitudes(m64));
}

// Inverses are computed in double precision, so their elements are rounded once (3 x 3: also by the
// determinant, which is a float), and the condition costs nothing.
TEST(Matrices, InversesAreRoundedOnce) {
    inRounds(3, kRounds, [](Random& random, int round) {
        ZtMat4f affine = random.affine();
        if (round % 4 == 1)
            affine = ZtMat4f().setScale(1e-12f) * affine;
        if (round % 4 == 2)  // nearly flat
            for (int j = 0; j < 3; ++j)
                affine[2][j] = affine[0][j] - affine[1][j] + 1e-4f * random.number();
        ZtMat4f inverse, own = affine;
        ASSERT_EQ(1, ZtMat4f::affine_inverse(affine, inverse));
        expectInverse<4>(affine, inverse, 1.01);
        EXPECT_EQ(inverse, affine.inverse());
        EXPECT_EQ(1, ZtMat4f::affine_inverse(own, own));
        EXPECT_EQ(inverse, own);
        const ZtMat4f projective = random.matrix();
        EXPECT_EQ(0, ZtMat4f::affine_inverse(projective, inverse));
        expectInverse<4>(projective, projective.inverse(), 1.01);

        const ZtMat3f three = upperLeft(affine);
        if (three.det() != 0) {
            expectInverse<3>(three, three.inverse(), 2.01);
            EXPECT_EQ(three.inverse(), three.inverse(three.det()));
        }
        const ZtMat3f symmetric = three * three.transpose();
        ZtMat3f upper = symmetric;
        upper[1][0] = upper[2][0] = upper[2][1] = kNaN;  // not read
        EXPECT_EQ(symmetric.inverse(symmetric.det()), upper.symmInverse(symmetric.det()));
    });
}

TEST(Matrices, InversesOfSingularMatricesAreAsStated) {
    EXPECT_EQ(ZtMat3f(), ZtMat3f().inverse());
    // 1 2 3 / 4 5 6 / 7 8 9 has determinant 0; its adjugate comes out.
    EXPECT_EQ(ZtMat3f(-3, 6, -3, 6, -12, 6, -3, 6, -3),
              ZtMat3f(1, 2, 3, 4, 5, 6, 7, 8, 9).inverse());
    ZtMat4f out = ZtMat4f::identity();
    EXPECT_TRUE(out.inverse().isIdentity());
    const ZtMat4f none(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 1);
    for (const ZtMat4f& flat : {ZtMat4f(1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 1, 1, 1, 1), none})
        EXPECT_EQ(0, ZtMat4f::affine_inverse(flat, out));
    EXPECT_TRUE(out.isIdentity());
    EXPECT_EQ(none, none.inverse());
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

// Expects factors of m with its rows exchanged, and returns them.
template <std::size_t N, class M>
M expectFactors(const M& m, int* index) {
    M factors = m;
    float parity = 0;
    EXPECT_EQ(1, factors.LUDecomposition(index, parity));
    Square<N> lower = Square<N>::identity(), upper, permuted = squareOf<N>(m);
    for (int i = 0; i < int(N); ++i) {
        for (int j = 0; j < int(N); ++j)
            (j < i ? lower : upper)[i][j] = factors[i][j];
        EXPECT_GE(index[i], i);
        std::swap_ranges(permuted[i], permuted[i] + N, permuted[index[i]]);
        parity *= index[i] == i ? 1 : -1;
    }
    EXPECT_EQ(1, parity);
    expectNear<N>(permuted, lower * upper, 2.0 * N, magnitudes(lower) * magnitudes(upper));
    return factors;
}

TEST(Matrices, LuFactorsMultiplyToThePermutedMatrixAndSolve) {
    inRounds(4, kRounds, [](Random& random, int round) {
        const ZtMat4f m = random.matrix();
        int index[4];
        expectFactors<3>(upperLeft(m), index);
        const ZtMat4f factors = expectFactors<4>(m, index);
        float b[4] = {0, round % 2 ? 0.0f : 1.0f, random.number(), random.number()};
        const ZtVec4f right(b);
        factors.LUBackSubstitution(index, b);
        ZtVec4f left;
        m.multMatrixVec(ZtVec4f(b), left);
        // The residual is small against |L| |U| |x| whatever the condition.
        EXPECT_LT((left - right).length(), 100 * kEps * ZtVec4f(b).length());
    });
}

TEST(Matrices, LuTakesTheLaterOfEqualPivotsAndHandlesZeros) {
    const struct {
        const char* name;
        float column[4];
        int first;  // the row that step 0 exchanges with row 0
    } rows[] = {{"all equal", {1, 1, 1, 2}, 3},
                {"the larger, scaled by its row", {0.25f, 1, 0.5f, 1.5f}, 1}};
    int index[4];
    float parity;
    for (const auto& row : rows) {
        const float* const c = row.column;
        ZtMat4f m(c[0], 1, 0, 0, c[1], 0, 1, 0, c[2], 0, 0, 1, c[3], 1, 1, 2);
        EXPECT_EQ(1, m.LUDecomposition(index, parity));
        EXPECT_EQ(row.first, index[0]) << row.name;
    }
    ZtMat4f pivotless(1, 1, 0, 0, 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
    EXPECT_EQ(1, pivotless.LUDecomposition(index, parity));
    EXPECT_EQ(1e-20f, pivotless[1][1]);
    const ZtMat4f zeroRow(1, 2, 3, 4, 0, 0, 0, 0, 1, 0, 0, 1, 2, 2, 1, 0);
    ZtMat4f unchanged = zeroRow;
    EXPECT_EQ(0, unchanged.LUDecomposition(index, parity));
    EXPECT_EQ(zeroRow, unchanged);
    EXPECT_EQ(0, ZtMat3f(1, 2, 3, 0, 0, 0, 4, 5, 6).LUDecomposition(index, parity));
    EXPECT_EQ(0, ZtMat3f(1, 1, 0, 1, 1, 0, 0, 0, 1).LUDecomposition(index, parity));
}

TEST(Matrices, JacobiFindsEigenvectorsOfSymmetricMatrices) {
    float values[3], again[3];
    ZtVec3f vectors[3], vectorsAgain[3];
    int rotations = -1;
    inRounds(5, kRounds, [&](Random& random, int round) {
        ZtMat4f embedded = random.matrix();
        ZtMat3f m = upperLeft(embedded);
        if (round % 3)
            m = m * m.transpose();
        Square<3> a;
        for (int i = 0; i < 9; ++i)
            a[i / 3][i % 3] = m[std::min(i / 3, i % 3)][std::max(i / 3, i % 3)];
        m[1][0] = m[2][0] = m[2][1] = kNaN;  // not read
        m.jacobi(values, vectors, rotations);
        EXPECT_GT(rotations, 0);
        for (int k = 0; k < 3; ++k) {
            const ZtVec3d v(vectors[k]);
            for (int i = 0; i < 3; ++i)
                EXPECT_NEAR(ZtVec3d(a[i]).dot(v), values[k] * v[i], 30 * kEps);
            EXPECT_NEAR(1, v.length(), 10 * kEps);
            EXPECT_NEAR(0, v.dot(ZtVec3d(vectors[(k + 1) % 3])), 10 * kEps);
        }
        EXPECT_GT(vectors[0].cross(vectors[1]).dot(vectors[2]), 0);
        for (int i = 0; i < 9; ++i)
            embedded[i / 3][i % 3] = m[i / 3][i % 3];
        embedded.jacobi3(again, vectorsAgain, rotations);
        EXPECT_TRUE(std::equal(values, values + 3, again) && vectors[1] == vectorsAgain[1]);
    });
    ZtMat3f(3, 0, 0, 0, 1, 0, 0, 0, 2).jacobi(values, vectors, rotations);
    EXPECT_EQ(0, rotations);
    testing::internal::CaptureStderr();
    ZtMat3f(1, kNaN, 0, 0, 1, 0, 0, 0, 1).jacobi(values, vectors, rotations);
    EXPECT_EQ("Too many iterations in routine jacobi\n", testing::internal::GetCapturedStderr());
    EXPECT_EQ(ZtVec3f(1, 0, 0), vectors[0]) << "as they were";
}

TEST(Matrices, TransformsComposeStepByStepAndComeApart) {
    inRounds(6, kRounds, [](Random& random, int round) {
        const float sign = round % 5 == 0 ? -1.0f : 1.0f;
        const ZtVec3f t = random.vector(), center = random.vector();
        const ZtVec3f s = (ZtVec3f(1.6f, 1.6f, 1.6f) + 1.5f * random.vector()) * sign;
        const ZtVec3f axis = random.direction(), soAxis = random.direction();
        const float angle = 3 * random.number(), soAngle = 3 * random.number();
        const ZtRotation r(axis, angle), so(soAxis, soAngle);
        ZtMat4f m;
        m.setTransform(t, r, s, so, center);

        const ZtVec3f p = random.vector();
        const ZtVec3d c(center), d(soAxis);
        ZtVec3d q = turned(ZtVec3d(p) - c, d, -double(soAngle));
        q = turned(ZtVec3d(q.x * s.x, q.y * s.y, q.z * s.z), d, soAngle);
        q = turned(q, ZtVec3d(axis), angle) + c + ZtVec3d(t);
        ZtVec3f image;
        m.multVecMatrix(p, image);
        expectNear(q, image, 60 * kEps);

        ZtVec3f t2, s2;
        ZtRotation r2, so2;
        m.getTransform(t2, r2, s2, so2, center);
        for (int i = 0; i < 3; ++i)
            EXPECT_GT(s2[i] * sign, 0);
        EXPECT_TRUE(ZtMat4f().setTransform(t2, r2, s2, so2, center).equals(m, float(60 * kEps)));
    });
}

TEST(Matrices, FactorAndGetTransformOfDegenerateMatrices) {
    for (const float last : {0.0f, 0.9e-12f, -0.9e-12f, kNaN}) {
        ZtMat4f m(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, last, 0, 4, 5, 6, 1);
        ZtMat4f r, u, proj;
        ZtVec3f s(9, 9, 9), t;
        EXPECT_FALSE(m.factor(r, s, u, t, proj));
        EXPECT_TRUE(t == ZtVec3f(4, 5, 6) && proj.isIdentity() && r == ZtMat4f() && s.x == 9);
        ZtRotation turn(1, 0, 0, 0), orientation(1, 0, 0, 0);
        m.getTransform(t, turn, s, orientation);
        EXPECT_TRUE(t == ZtVec3f(4, 5, 6) && s == ZtVec3f(1, 1, 1));
        EXPECT_TRUE(turn == ZtRotation::identity() && orientation == ZtRotation::identity());
        m[2][2] = 1.1e-12f;
        EXPECT_TRUE(m.factor(r, s, u, t, proj));
    }
}

// To the last bit; of what is not a number the sign is the processor's affair.
TEST(Matrices, ArraysOfPointsAreTransformedAsSinglePointsAre) {
    Random random(8);
    for (const ZtMat4f& m : {random.affine(), random.matrix()}) {
        std::vector<ZtVec3f> points(100), images(100);
        for (ZtVec3f& p : points)
            p = random.vector();
        points[41].x = std::numeric_limits<float>::infinity();
        points[43].y = kNaN;
        for (std::size_t i = 0; i < 100; ++i)
            m.multVecMatrix(points[i], images[i]);
        for (int first = 0; first < 20; ++first)
            for (int count = 0; count <= 80; count = count < 20 ? count + 1 : count * 3 / 2)
                for (const bool inPlace : {true, false}) {
                    std::vector<ZtVec3f> out = points;
                    m.multVecMatrix((inPlace ? out : points).data() + first, out.data() + first,
                                    count);
                    for (int i = 0; i < 300; ++i) {
                        const bool isDone = i / 3 >= first && i / 3 < first + count;
                        const auto at = static_cast<std::size_t>(i / 3);
                        const float expected = (isDone ? images : points)[at][i % 3];
                        const float actual = out[at][i % 3];
                        ASSERT_TRUE(std::isnan(expected) ? std::isnan(actual) : expected == actual)
                            << first << " + " << i / 3 << " of " << count;
                    }
                }
    }
}

}  // namespace
