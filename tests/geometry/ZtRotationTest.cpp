// Rotations against Rodrigues' formula and the definitions, in double precision.
#include <ztlib/ZtRotation.h>

#include <numbers>

#include "ContractCapture.h"
#include "GeometryOracle.h"

namespace {

using namespace oracle;

constexpr int kRounds = 1000;
constexpr float kHalf = 0.70710678f;

ZtVec3f image(const ZtRotation& r, ZtVec3f v) {
    r.multVec(v, v);
    return v;
}

double dot(const ZtRotation& a, const ZtRotation& b) {
    double sum = 0;
    for (int i = 0; i < 4; ++i)
        sum += double(a[i]) * b[i];
    return sum;
}

double normOf(const ZtRotation& r) {
    return std::sqrt(dot(r, r));
}

/// Expects the components, all with the other sign if `sign` is -1.
void expectSame(const ZtRotation& expected, const ZtRotation& actual, double bound,
                double sign = 1) {
    for (int i = 0; i < 4; ++i)
        EXPECT_NEAR(sign * expected[i], actual[i], bound) << "component " << i;
}

ZtRotation someRotation(Random& random) {
    const ZtVec3f axis = random.direction();
    return ZtRotation(axis, 3.1f * random.number());
}

TEST(Rotations, TurnAboutAnAxisAsRodriguesSays) {
    inRounds(1, kRounds, [](Random& random, int) {
        const ZtVec3f axis = random.direction(), v = random.vector();
        const float angle = 3.1f * random.number();
        const ZtRotation r(axis * (2 + random.number()), angle);
        expectNear(turned(ZtVec3d(v), ZtVec3d(axis), angle), image(r, v), 8 * kEps);
        EXPECT_NEAR(1, normOf(r), 2 * kEps);

        ZtVec3f axisAgain;
        float angleAgain;
        r.getValue(axisAgain, angleAgain);
        // The angle comes from the cosine of its half, whose rounding weighs the more the smaller
        // it is.
        const double sine = std::abs(std::sin(angle / 2));
        if (sine > 1e-3) {
            EXPECT_NEAR(std::abs(double(angle)), angleAgain, 2 * kEps / sine);
            expectNear(ZtVec3d(axis) * (angle < 0 ? -1.0 : 1.0), axisAgain, 8 * kEps);
        }
        ZtMat4f m;
        r.getValue(m);
        expectSame(r, ZtRotation(m), 6 * kEps, dot(r, ZtRotation(m)) < 0 ? -1 : 1);
        expectSame(ZtRotation::identity(), r * r.inverse(), 4 * kEps);
        ZtRotation scaled = r;
        expectNear(turned(ZtVec3d(v), ZtVec3d(axis), 0.25 * angle),
                   image(scaled.scaleAngle(0.25f), v),
                   8 * kEps + (sine > 1e-3 ? kEps / sine : 2e-3));
    });
    const ZtMat4f m =
        ZtMat4f().setRotate(ZtRotation(ZtVec3f(0, 0, 1), std::numbers::pi_v<float> / 2));
    EXPECT_NEAR(1, m[0][1], kEps) << "x to y";
    EXPECT_NEAR(-1, m[1][0], kEps);
}

TEST(Rotations, SmallAnglesHaveTheDefaultAxis) {
    for (const float x : {0.0f, 1e-5f, 1.001e-5f}) {  // as a float, 1e-5 is just below it
        ZtRotation r;
        r[0] = x;
        ZtVec3f axis;
        float angle;
        r.getValue(axis, angle);
        EXPECT_TRUE(angle == 0 && axis == (x > 1e-5f ? ZtVec3f(1, 0, 0) : ZtVec3f(0, 0, 1))) << x;
    }
    EXPECT_TRUE(ZtRotation(ZtVec3f(1, 2, 3), 0.0f) == ZtRotation::identity());
}

TEST(Rotations, StoreNormaliseAndCompareAsStated) {
    const float q[4] = {1, -2, 3, -4};
    const ZtRotation r(q);
    EXPECT_TRUE(r == ZtRotation(2, -4, 6, -8));
    float c[4];
    r.getValue(c[0], c[1], c[2], c[3]);
    ZtRotation twice;
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(static_cast<float>(q[i] / std::sqrt(30.0)), r.getValue()[i]);
        EXPECT_EQ(c[i], r[i]);
        twice[i] = 2 * r[i];
        ZtRotation other = r;
        other[i] += 10;
        EXPECT_TRUE(r != other);
        EXPECT_TRUE(r.equals(other, 1e-3f)) << "one-sided";
        EXPECT_FALSE(other.equals(r, 10) || r.equals(r, 0));
        other[i] = kNaN;
        EXPECT_FALSE(other.isNumber() || other == other || other.equals(r, 100));
        EXPECT_FALSE(ZtRotation::slerp(other, r, 0.5f).isNumber());
    }
    EXPECT_NEAR(0.5, normOf(twice.inverse()), kEps);  // conjugate / norm^2
    EXPECT_NEAR(2, normOf(twice * r), 4 * kEps);      // not normalised
    EXPECT_NEAR(1, normOf(twice *= r), kEps);
    ContractCapture capture;
    if (kChecked) {
        EXPECT_THROW(twice[4], BrokenContract);
    }
}

TEST(Rotations, ProductsTurnByTheFirstAndThenByTheSecond) {
    inRounds(2, kRounds, [](Random& random, int) {
        const ZtRotation a = someRotation(random), b = someRotation(random);
        const ZtVec3f v = random.vector();
        expectNear(ZtVec3d(image(b, image(a, v))), image(a * b, v), 16 * kEps);
        ZtRotation product = a, square = a;
        expectSame(a * b, product *= b, 6 * kEps);
        expectSame(a * a, square *= square, 6 * kEps);
    });
}

// At ties of the diagonal the later axis is taken; the quaternion's component there is positive.
TEST(Rotations, FromMatrixTakesTheStatedAxisAtTies) {
    const struct {
        const char* name;
        ZtRotation q;
        int positive;
    } rows[] = {{"identity", {0, 0, 0, 1}, 3},     {"x = z", {1, 0, -1, 0}, 2},
                {"y = z", {0, 1, -1, 0}, 2},       {"all, and the trace", {1, 1, -1, 1}, 2},
                {"x", {1, 0.2f, -0.3f, -0.1f}, 0}, {"w", {-0.2f, 0.3f, -0.5f, 1}, 3}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ZtMat4f m = ZtMat4f().setRotate(row.q);
        for (int i = 0; i < 3 && row.q[3] == 0; ++i)
            m[i][i] = std::round(m[i][i]);  // ties come out exactly
        const ZtRotation r(m);
        EXPECT_GT(r[row.positive], 0);
        expectSame(row.q, r, 4 * kEps, row.q[row.positive] < 0 ? -1 : 1);
    }
}

TEST(Rotations, CarryOneDirectionToAnotherByTheShortestArc) {
    inRounds(3, kRounds, [](Random& random, int round) {
        const ZtVec3f from = random.direction() * (1.5f + random.number());
        ZtVec3f to = random.direction() * 3.0f;
        if (round % 3 == 1)  // nearly parallel or opposite
            to = from * (round % 2 ? -2.0f : 2.0f) +
                 random.vector() * (round % 4 < 2 ? 1e-5f : 1e-3f);
        if (round % 3 == 2)
            to = from * (round % 2 ? -0.3f : 0.3f);  // parallel but for rounding
        const ZtRotation r(from, to);
        const ZtVec3d a = unit(ZtVec3d(from)), b = unit(ZtVec3d(to));
        expectNear(b, image(r, ZtVec3f(a)), 8 * kEps);
        EXPECT_NEAR(1, normOf(r), kEps);
        EXPECT_GE(r[3], 0);
        // No turning about the direction itself: the axis is at right angles to it.
        EXPECT_NEAR(0, a.dot(ZtVec3d(ZtVec3f(r.getValue()))), 4 * kEps);
    });
    const struct {
        ZtVec3f from, to;
        float q[4];
    } rows[] = {
        {{1, 0, 0}, {-1, 0, 0}, {0, 0, 1, 0}},        {{0, 1, 0}, {0, -1, 0}, {0, 0, -1, 0}},
        {{0, 0, 2}, {0, 0, -3}, {0, 1, 0, 0}},        {{5, 5, 5}, {1, 1, 1}, {0, 0, 0, 1}},
        {{1, 0, 0}, {0, 3, 0}, {0, 0, kHalf, kHalf}}, {{0, 0, 0}, {0, 1, 0}, {0, 0, 0, 1}}};
    for (const auto& [from, to, q] : rows)
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(q[i], ZtRotation(from, to)[i]) << from.x << ", " << i;
}

TEST(Rotations, CarryDirectionAndUp) {
    inRounds(4, kRounds, [](Random& random, int round) {
        ZtVec3f dir[2], up[2];
        for (int i = 0; i < 2; ++i)
            do {
                dir[i] = random.direction();
                up[i] = dir[i].cross(random.direction());
            } while (up[i].normalize() < 0.1f);
        if (round % 8 == 0)
            dir[1] = -dir[0], up[1] = round % 16 ? up[0] : -up[0];
        const ZtRotation r(dir[0], up[0], dir[1], up[1]);
        expectNear(ZtVec3d(dir[1]), image(r, dir[0]), 16 * kEps);
        // The angle is an arc cosine: near 0 and half a turn it keeps half of the digits.
        expectNear(ZtVec3d(up[1]), image(r, up[0]), 4e-4);
    });
}

TEST(Rotations, SlerpRunsAlongTheShorterArcAtConstantSpeed) {
    inRounds(5, kRounds, [](Random& random, int round) {
        const ZtRotation a = someRotation(random);
        ZtRotation b = someRotation(random);
        if (round % 4 == 0)  // from close together to hardly apart
            b = a * ZtRotation(random.direction(), 0.02f * std::abs(random.number()));
        const float t = round % 5 == 0 ? 2 * random.number() : 0.5f + 0.5f * random.number();
        const double sign = dot(a, b) < 0 ? -1 : 1, cosine = sign * dot(a, b);
        double shareOfA = 1 - double(t), shareOfB = t;
        if (1 - cosine > 1e-5) {
            const double angle = std::acos(cosine);
            shareOfA = std::sin(shareOfA * angle) / std::sin(angle);
            shareOfB = std::sin(shareOfB * angle) / std::sin(angle);
        }
        const ZtRotation r = ZtRotation::slerp(a, b, t);
        for (int i = 0; i < 4; ++i) {
            const double expected = shareOfA * a[i] + sign * shareOfB * b[i];
            EXPECT_NEAR(expected, r[i], 0.51 * kEps * std::max(1.0, std::abs(expected)));
        }
        expectSame(a, ZtRotation::slerp(a, b, 0), 0.51 * kEps);
        expectSame(b, ZtRotation::slerp(a, b, 1), 0.51 * kEps, sign);
    });
}

}  // namespace
