// Rotations against Rodrigues' formula and the definitions, in double precision.
#include <ztlib/ZtRotation.h>

#include <numbers>

#include "ContractCapture.h"
#include "Reference.h"

namespace {

using reference::expectNear;
using reference::kEps;
using reference::kNaN;
using reference::Random;
using reference::turned;

constexpr int kRounds = 1000;
constexpr float kHalf = 0.70710678f;

ZtVec3f image(const ZtRotation& r, ZtVec3f v) {
    r.multVec(v, v);
    return v;
}

void expectSame(const ZtRotation& expected, const ZtRotation& actual, double bound) {
    for (int i = 0; i < 4; ++i)
        EXPECT_NEAR(expected[i], actual[i], bound) << "component " << i;
}

double normOf(const ZtRotation& r) {
    double sum = 0;
    for (int i = 0; i < 4; ++i)
        sum += double(r[i]) * r[i];
    return std::sqrt(sum);
}

ZtRotation someRotation(Random& random) {
    return ZtRotation(random.direction(), 3.1f * random.number());
}

TEST(Rotations, TurnAboutAnAxisAsRodriguesSays) {
    Random random(1);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        const ZtVec3f axis = random.direction();
        const float angle = 3.1f * random.number();
        const ZtRotation r(axis * (2 + random.number()), angle);
        const ZtVec3f v = random.vector();
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
        EXPECT_EQ(m, ZtMat4f() = r);
        const ZtRotation back(m);
        const double sign = double(back[0]) * r[0] + double(back[1]) * r[1] +
                            double(back[2]) * r[2] + double(back[3]) * r[3];
        for (int i = 0; i < 4; ++i)
            EXPECT_NEAR(r[i] * (sign < 0 ? -1 : 1), back[i], 6 * kEps);
        expectSame(ZtRotation::identity(), r * r.inverse(), 4 * kEps);
        ZtRotation scaled = r;
        expectNear(turned(ZtVec3d(v), ZtVec3d(axis), 0.25 * angle),
                   image(scaled.scaleAngle(0.25f), v),
                   8 * kEps + (sine > 1e-3 ? kEps / sine : 2e-3));
    }
}

TEST(Rotations, QuarterTurnAboutZCarriesXToY) {
    const ZtRotation r(ZtVec3f(0, 0, 1), std::numbers::pi_v<float> / 2);
    expectNear(ZtVec3d(0, 1, 0), image(r, ZtVec3f(1, 0, 0)), kEps);
    const ZtMat4f m = ZtMat4f().setRotate(r);
    EXPECT_NEAR(1, m[0][1], kEps);
    EXPECT_NEAR(-1, m[1][0], kEps);
}

TEST(Rotations, SmallAnglesHaveTheDefaultAxis) {
    ZtVec3f axis;
    float angle = 7;
    ZtRotation().getValue(axis, angle);
    EXPECT_EQ(ZtVec3f(0, 0, 1), axis);
    EXPECT_EQ(0, angle);
    ZtRotation r;
    for (const bool above : {false, true}) {
        r[0] = above ? 1.001e-5f : 1e-5f;  // as a float, just below 1e-5
        r.getValue(axis, angle);
        EXPECT_EQ(above ? ZtVec3f(1, 0, 0) : ZtVec3f(0, 0, 1), axis);
    }
    EXPECT_TRUE(ZtRotation(ZtVec3f(1, 2, 3), 0.0f) == ZtRotation::identity());
}

TEST(Rotations, StoreNormaliseAndCompareAsStated) {
    const float q[4] = {1, -2, 3, -4};
    const ZtRotation r(q);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(static_cast<float>(q[i] / std::sqrt(30.0)), r.getValue()[i]);
    EXPECT_TRUE(r == ZtRotation(2, -4, 6, -8));
    float x, y, z, w;
    r.getValue(x, y, z, w);
    EXPECT_TRUE(x == r[0] && y == r[1] && z == r[2] && w == r[3]);
    for (int i = 0; i < 4; ++i) {
        ZtRotation other = r;
        other[i] += 10;
        EXPECT_TRUE(r != other);
        EXPECT_TRUE(r.equals(other, 1e-3f)) << "one-sided";
        EXPECT_FALSE(other.equals(r, 10));
        EXPECT_FALSE(r.equals(r, 0));
        other[i] = kNaN;
        EXPECT_FALSE(other.isNumber() || other == other || other.equals(r, 100));
    }
    ZtRotation twice;
    for (int i = 0; i < 4; ++i)
        twice[i] = 2 * r[i];
    EXPECT_NEAR(0.5, normOf(twice.inverse()), kEps);  // conjugate / norm^2
    EXPECT_NEAR(2, normOf(twice * r), 4 * kEps);      // not normalised
    ZtRotation product = twice;
    EXPECT_NEAR(1, normOf(product *= r), kEps);
}

TEST(Rotations, ProductsTurnByTheFirstAndThenByTheSecond) {
    Random random(2);
    for (int round = 0; round < kRounds; ++round) {
        const ZtRotation a = someRotation(random);
        const ZtRotation b = someRotation(random);
        const ZtVec3f v = random.vector();
        expectNear(ZtVec3d(image(b, image(a, v))), image(a * b, v), 16 * kEps);
        ZtRotation product = a;
        expectSame(a * b, product *= b, 6 * kEps);
        ZtRotation square = a;
        expectSame(a * a, square *= square, 6 * kEps);
    }
}

// At ties of the diagonal the later axis is taken; the quaternion's component there is positive.
TEST(Rotations, FromMatrixTakesTheStatedAxisAtTies) {
    struct Row {
        const char* name;
        ZtRotation q;
        int positive;
    };
    for (const Row& row :
         {Row{"identity", {0, 0, 0, 1}, 3}, Row{"x = y", {1, -1, 0, 0}, 1},
          Row{"x = z", {1, 0, -1, 0}, 2}, Row{"y = z", {0, 1, -1, 0}, 2},
          Row{"all, and the trace", {1, 1, -1, 1}, 2}, Row{"x", {1, 0.2f, -0.3f, -0.1f}, 0},
          Row{"y", {-0.2f, 1, -0.3f, -0.1f}, 1}, Row{"z", {-0.2f, 0.3f, 1, -0.1f}, 2},
          Row{"w", {-0.2f, 0.3f, -0.5f, 1}, 3}}) {
        SCOPED_TRACE(row.name);
        ZtMat4f m;
        // From a quaternion of integers or simple fractions: ties come out exactly.
        m.setRotate(row.q);
        if (row.q[3] == 0)
            for (int i = 0; i < 3; ++i)
                m[i][i] = std::round(m[i][i]);
        const ZtRotation r(m);
        EXPECT_GT(r[row.positive], 0);
        const float sign = row.q[row.positive] < 0 ? -1.0f : 1.0f;
        for (int i = 0; i < 4; ++i)
            EXPECT_NEAR(sign * row.q[i], r[i], 4 * kEps);
    }
}

TEST(Rotations, CarryOneDirectionToAnotherByTheShortestArc) {
    Random random(3);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        const ZtVec3f from = random.direction() * (1.5f + random.number());
        ZtVec3f to = random.direction() * 3.0f;
        if (round % 3 == 1)  // nearly parallel or opposite
            to = from * (round % 2 ? -2.0f : 2.0f) +
                 random.vector() * (round % 4 < 2 ? 1e-5f : 1e-3f);
        if (round % 3 == 2)
            to = from * (round % 2 ? -0.3f : 0.3f);  // parallel but for rounding
        const ZtRotation r(from, to);
        ZtVec3d a(from), b(to);
        a.normalize();
        b.normalize();
        const ZtVec3f unit(a);
        expectNear(b, image(r, unit), 8 * kEps);
        EXPECT_NEAR(1, normOf(r), kEps);
        EXPECT_GE(r[3], 0);
        // No turning about the direction itself: the axis is at right angles to it.
        EXPECT_NEAR(0, a.dot(ZtVec3d(ZtVec3f(r.getValue()))), 4 * kEps);
    }
    struct Row {
        ZtVec3f from, to;
        float q[4];
    };
    for (const Row& row :
         {Row{{1, 0, 0}, {-1, 0, 0}, {0, 0, 1, 0}}, Row{{0, 1, 0}, {0, -1, 0}, {0, 0, -1, 0}},
          Row{{0, 0, 2}, {0, 0, -3}, {0, 1, 0, 0}}, Row{{5, 5, 5}, {1, 1, 1}, {0, 0, 0, 1}},
          Row{{1, 0, 0}, {0, 3, 0}, {0, 0, kHalf, kHalf}}, Row{{0, 0, 0}, {0, 1, 0}, {0, 0, 0, 1}}})
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(row.q[i], ZtRotation(row.from, row.to)[i]) << row.from.x << ", " << i;
}

TEST(Rotations, CarryDirectionAndUp) {
    Random random(4);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        ZtVec3f dir[2], up[2];
        for (int i = 0; i < 2; ++i) {
            dir[i] = random.direction();
            up[i] = dir[i].cross(random.direction());
            if (up[i].normalize() < 0.1f) {
                --i;
                continue;
            }
        }
        if (round % 8 == 0)
            dir[1] = -dir[0], up[1] = round % 16 ? up[0] : -up[0];
        const ZtRotation r(dir[0], up[0], dir[1], up[1]);
        expectNear(ZtVec3d(dir[1]), image(r, dir[0]), 16 * kEps);
        // The angle is an arc cosine: near 0 and half a turn it keeps half of the digits.
        expectNear(ZtVec3d(up[1]), image(r, up[0]), 4e-4);
    }
}

TEST(Rotations, SlerpRunsAlongTheShorterArcAtConstantSpeed) {
    Random random(5);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        const ZtRotation a = someRotation(random);
        ZtRotation b = someRotation(random);
        if (round % 4 == 0)  // from close together to hardly apart
            b = a * ZtRotation(random.direction(), 0.02f * std::abs(random.number()));
        const float t = round % 5 == 0 ? 2 * random.number() : 0.5f + 0.5f * random.number();
        double cosine = 0;
        for (int i = 0; i < 4; ++i)
            cosine += double(a[i]) * b[i];
        const double sign = cosine < 0 ? -1 : 1;
        cosine *= sign;
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
        const ZtRotation end = ZtRotation::slerp(a, b, 1);
        for (int i = 0; i < 4; ++i)
            EXPECT_NEAR(sign * b[i], end[i], 0.51 * kEps);
    }
    ZtRotation broken;
    broken[1] = kNaN;
    EXPECT_FALSE(ZtRotation::slerp(broken, ZtRotation(), 0.5f).isNumber());
    ContractCapture capture;
    if (kChecked) {
        EXPECT_THROW(broken[4], BrokenContract);
    }
}

}  // namespace
