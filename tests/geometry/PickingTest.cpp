// Planes, lines, spheres and boxes: the queries of picking and clipping, against the definitions in
// double precision, and every tie and degenerate case.
#include <ztlib/ZtBox3f.h>
#include <ztlib/ZtLine.h>
#include <ztlib/ZtPlane.h>
#include <ztlib/ZtRotation.h>
#include <ztlib/ZtSphere.h>

#include <algorithm>
#include <type_traits>
#include <vector>

#include "ContractCapture.h"
#include "Reference.h"

namespace {

using reference::bitsOf;
using reference::expectNear;
using reference::kEps;
using reference::kNaN;
using reference::Random;

constexpr int kRounds = 1000;

bool isMarked(const ZtVec3f& v) {
    return bitsOf(v.x) == 0x7FC00000u && bitsOf(v.y) == 0x7FC00000u && bitsOf(v.z) == 0x7FC00000u;
}

ZtLine ray(const ZtVec3f& pos, const ZtVec3f& dir) {
    ZtLine line;
    line.setPosDir(pos, dir);
    return line;
}

ZtVec3d unit(const ZtVec3f& v) {
    ZtVec3d u(v);
    u.normalize();
    return u;
}

TEST(Planes, AreSetAsStated) {
    const auto expectPlane = [](const ZtPlane& plane, const ZtVec3f& normal, float d) {
        EXPECT_EQ(normal, plane.getNormal());
        EXPECT_EQ(d, plane.getDistance());
        EXPECT_EQ(plane.isEmpty(), !plane.isValid());
        EXPECT_EQ(normal == ZtVec3f(), plane.isEmpty());
    };
    expectPlane(ZtPlane(), ZtVec3f(), 0);
    expectPlane(ZtPlane::emptyPlane(), ZtVec3f(), 0);
    expectPlane(ZtPlane(ZtVec3f(), 5), ZtVec3f(), 0);
    expectPlane(ZtPlane(ZtVec3f(), ZtVec3f(1, 2, 3)), ZtVec3f(), 0);
    expectPlane(ZtPlane(ZtVec3f(1, 2, 3), ZtVec3f(2, 4, 6), ZtVec3f(-1, -2, -3)), ZtVec3f(), 0);
    expectPlane(ZtPlane(ZtVec3f(0, 0, 2), 4), ZtVec3f(0, 0, 1), 4);
    expectPlane(ZtPlane(ZtVec3f(0, 0, 2), ZtVec3f(7, 8, 9)), ZtVec3f(0, 0, 1), 9);
    expectPlane(ZtPlane(ZtVec3f(0, 0, 3), ZtVec3f(1, 0, 3), ZtVec3f(0, 1, 3)), ZtVec3f(0, 0, 1), 3);
    ZtPlane plane(ZtVec3f(0, 1, 0), 4);
    plane.offset(-1);
    expectPlane(plane, ZtVec3f(0, 1, 0), 3);
    plane.revertOrientation();
    expectPlane(plane, ZtVec3f(0, -1, 0), -3);
    EXPECT_TRUE(ZtPlane().isInHalfSpace(ZtVec3f(-1, -2, -3)));

    for (const float squared : {0.998f, 0.9995f, 1.0005f, 1.002f}) {
        plane.setNormal(ZtVec3f(0, std::sqrt(squared), 0));
        EXPECT_EQ(std::abs(squared - 1) > 0.001f, plane.isEmpty()) << squared;
    }
    EXPECT_TRUE(plane.isNumber());
    plane.set(ZtVec3f(0, 1, 0), kNaN);
    EXPECT_TRUE(plane.isEmpty() && plane.isNoNumber());
    plane.makeNaN();
    EXPECT_TRUE(isMarked(plane.getNormal()) && bitsOf(plane.getDistance()) == 0x7FC00000u);
    plane.makeEmpty();
    expectPlane(plane, ZtVec3f(), 0);
}

TEST(Planes, MeasureProjectAndTransform) {
    Random random(1);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        const ZtVec3f p0 = random.vector(), p1 = random.vector(), p2 = random.vector();
        const ZtPlane plane(p0, p1, p2);
        const ZtVec3d normal(plane.getNormal());
        ZtVec3d expected = (ZtVec3d(p1) - ZtVec3d(p0)).cross(ZtVec3d(p2) - ZtVec3d(p0));
        expected.normalize();
        expectNear(expected, plane.getNormal(), 2 * kEps);
        EXPECT_TRUE(plane.isInHalfSpace(p0));
        const ZtVec3f p = random.vector();
        const double distance = normal.dot(ZtVec3d(p)) - plane.getDistance();
        EXPECT_NEAR(distance, plane.getDistance(p), kEps / 2 * std::abs(distance));
        if (std::abs(distance) > 2 * kEps) {
            EXPECT_EQ(distance > 0, plane.isInHalfSpace(p));
        }
        expectNear(ZtVec3d(p) - normal * distance, plane.getProjectedPoint(p), 2 * kEps);

        ZtMat4f m = random.affine();
        if (std::abs(m.det3()) < 0.1f)
            continue;
        ZtPlane moved = plane;
        moved.transform(m);
        EXPECT_TRUE(moved.isValid());
        for (ZtVec3f point : {p0, p1, p2}) {
            m.multVecMatrix(point, point);
            EXPECT_NEAR(0, moved.getDistance(point), 30 * kEps);
        }
        ZtVec3f image = p;
        m.multVecMatrix(image, image);
        if (std::abs(distance) > 1e-3) {
            EXPECT_EQ(distance > 0, moved.getDistance(image) > 0);
        }
        ZtPlane byInverse = plane;
        byInverse.transformInv(m.inverse());
        EXPECT_TRUE(byInverse.getNormal().equals(moved.getNormal(), float(200 * kEps)));
        moved.transformInv(m);
        EXPECT_TRUE(moved.getNormal().equals(plane.getNormal(), float(200 * kEps)));
        EXPECT_NEAR(plane.getDistance(), moved.getDistance(), 200 * kEps);
    }
    ZtPlane empty;
    empty.transform(ZtMat4f().setScale(2));
    EXPECT_TRUE(empty.isEmpty());
    ZtPlane lost(ZtVec3f(1, 0, 0), 3);
    lost.transformInv(ZtMat4f());
    EXPECT_TRUE(lost.isEmpty() && lost.getDistance() == 0);
}

TEST(Planes, CutLinesAndPlanes) {
    Random random(2);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        const ZtPlane plane(random.direction(), random.number());
        const ZtPlane other(random.direction(), random.number());
        const ZtLine line = ray(random.vector(), random.direction());
        const double slope = ZtVec3d(plane.getNormal()).dot(ZtVec3d(line.getDirection()));
        ZtVec3f point;
        float t = 0;
        ASSERT_TRUE(plane.intersect(line, point, &t));
        const double reach = 1 + std::abs(double(t));
        EXPECT_NEAR(0, plane.getDistance(point), 2 * kEps * reach);
        expectNear(ZtVec3d(line.getPosition()) + ZtVec3d(line.getDirection()) * double(t), point,
                   2 * kEps * reach);
        EXPECT_EQ(plane.getDistance(line.getPosition()) * slope<0, t> 0);

        ZtLine common;
        ASSERT_TRUE(plane.intersect(other, common));
        const ZtVec3d along = ZtVec3d(plane.getNormal()).cross(ZtVec3d(other.getNormal()));
        expectNear(along / along.length(), common.getDirection(), 2 * kEps);
        for (const ZtPlane& each : {plane, other})
            EXPECT_NEAR(0, each.getDistance(common.getPosition()),
                        4 * kEps * (1 + common.getPosition().length()));
    }
    const ZtPlane plane(ZtVec3f(0, 0, 1), 2);
    ZtVec3f point(1, 2, 3);
    float t = 7;
    EXPECT_FALSE(plane.intersect(ray(ZtVec3f(0, 0, 5), ZtVec3f(3, 4, 0)), point, &t));
    EXPECT_TRUE(isMarked(point) && t == 7);
    EXPECT_TRUE(plane.intersect(ray(ZtVec3f(1, 2, 5), ZtVec3f(0, 0, 1)), point));
    EXPECT_EQ(ZtVec3f(1, 2, 2), point) << "behind";
    ZtLine line;
    EXPECT_FALSE(plane.intersect(ZtPlane(ZtVec3f(0, 9e-6f, 1), 3), line));
    EXPECT_TRUE(isMarked(line.getPosition()) && isMarked(line.getDirection()));
    EXPECT_TRUE(plane.intersect(ZtPlane(ZtVec3f(0, 1.1e-5f, 1), 3), line));
    EXPECT_FALSE(plane.intersect(ZtPlane(), line));
}

TEST(Planes, AreNearEqualWithinTheTolerances) {
    const ZtPlane plane(ZtVec3f(0, 0, 1), 2);
    struct Row {
        const char* name;
        ZtPlane other;
        bool near, nearOriented;
    };
    for (const Row& row :
         {Row{"itself", plane, true, true}, Row{"opposite", {ZtVec3f(0, 0, -1), -2}, true, false},
          Row{"shifted within", {ZtVec3f(0, 0, 1), 2.09f}, true, true},
          Row{"shifted beyond", {ZtVec3f(0, 0, 1), 2.11f}, false, false},
          Row{"turned within", {ZtVec3f(0.0009f, 0, 1), 2}, true, true},
          Row{"turned beyond", {ZtVec3f(0.0011f, 0, 1), 2}, false, false},
          Row{"empty", {}, false, false}}) {
        SCOPED_TRACE(row.name);
        const ZtVec3f center(1, 1, 2);
        EXPECT_EQ(row.near, plane.isNearEqualInROI(row.other, center, 0.1f, 1e-3f, false));
        EXPECT_EQ(row.nearOriented, plane.isNearEqualInROI(row.other, center, 0.1f, 1e-3f, true));
        if (std::abs(row.other.getDistance()) == 2) {
            EXPECT_EQ(row.near, plane.isNearEqualNormal(row.other.getNormal(), false));
            EXPECT_EQ(row.nearOriented, plane.isNearEqualNormal(row.other.getNormal(), true));
        }
    }
}

TEST(Lines, AreNaNUntilTheyHaveTwoPoints) {
    for (const ZtLine& line : {ZtLine(), ZtLine(ZtVec3f(1, 2, 3), ZtVec3f(1, 2, 3))}) {
        EXPECT_TRUE(isMarked(line.getPosition()) && isMarked(line.getDirection()));
        EXPECT_TRUE(line.isNoNumber());
    }
    ZtLine line(ZtVec3f(1, 2, 3), ZtVec3f(1, 2, 8));
    EXPECT_TRUE(line.isNumber());
    EXPECT_EQ(ZtVec3f(0, 0, 1), line.getDirection());
    line.transform(ZtMat4f().setTransform(ZtVec3f(1, 1, 1), ZtRotation(), ZtVec3f(2, 2, 2)));
    EXPECT_EQ(ZtVec3f(3, 5, 7), line.getPosition());
    EXPECT_EQ(ZtVec3f(0, 0, 2), line.getDirection());
    EXPECT_TRUE(line.intersect(-0.1f, ZtVec3f(3, 5.05f, 9))) << "of whatever length";
    line.makeEmpty();
    EXPECT_TRUE(line.isNoNumber());
}

// The feet are at right angles to both lines, and no point of the line is closer.
TEST(Lines, ComeClosestAtRightAngles) {
    Random random(3);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        const ZtLine a = ray(random.vector(), random.direction());
        ZtVec3f direction = random.direction();
        if (round % 4 == 0)  // nearly parallel
            direction = a.getDirection() + random.vector() * 1e-3f;
        const ZtLine b = ray(random.vector(), direction);
        const ZtVec3d da(a.getDirection()), db(b.getDirection());
        ZtVec3f onA, onB;
        ASSERT_TRUE(a.getClosestPoints(b, onA, onB));
        const ZtVec3d between = ZtVec3d(onB) - ZtVec3d(onA);
        const double reach = 1 + ZtVec3d(onA).length() + ZtVec3d(onB).length();
        EXPECT_NEAR(0, between.dot(da), 4 * kEps * reach);
        EXPECT_NEAR(0, between.dot(db), 4 * kEps * reach);
        EXPECT_NEAR(0, (ZtVec3d(onA) - ZtVec3d(a.getPosition())).cross(da).length(),
                    2 * kEps * reach);
        EXPECT_NEAR(0, (ZtVec3d(onB) - ZtVec3d(b.getPosition())).cross(db).length(),
                    2 * kEps * reach);

        const ZtVec3f p = random.vector();
        const ZtVec3d v = ZtVec3d(p) - ZtVec3d(a.getPosition());
        expectNear(ZtVec3d(a.getPosition()) + da * da.dot(v), a.getClosestPoint(p), 4 * kEps);
    }
    ZtVec3f p, q;
    EXPECT_FALSE(ray(ZtVec3f(), ZtVec3f(1, 2, 3))
                     .getClosestPoints(ray(ZtVec3f(5, 0, 0), ZtVec3f(-1, -2, -3)), p, q));
    EXPECT_TRUE(isMarked(p) && isMarked(q));
}

TEST(Lines, PickPoints) {
    struct Row {
        const char* name;
        ZtVec3f point;
        float tolerance;
        bool hit;
    };
    // The ray is the positive x axis.
    for (const Row& row :
         {Row{"on the ray", {2, 0, 0}, -0.1f, true}, Row{"at the position", {0, 0, 0}, -1, false},
          Row{"behind", {-1, 0, 0}, -1, false}, Row{"beside the position", {0, 0.1f, 0}, -1, false},
          Row{"within the cylinder", {3, 0.4f, 0}, -0.5f, true},
          Row{"on the cylinder", {3, 0.5f, 0}, -0.5f, false},
          Row{"within the cone", {4, 0, 0.9f}, 0.25f, true},
          Row{"on the cone", {4, 0, 1}, 0.25f, false},
          Row{"beyond the cone", {4, 0, 1.1f}, 0.25f, false}, Row{"no cone", {4, 0, 0}, 0, false},
          Row{"NaN", {4, kNaN, 0}, -9, false}})
        EXPECT_EQ(row.hit, ray(ZtVec3f(), ZtVec3f(1, 0, 0)).intersect(row.tolerance, row.point))
            << row.name;
    // Far away a point of the ray still lies on it, but for the rounding of its coordinates.
    Random random(4);
    for (int round = 0; round < kRounds; ++round) {
        const ZtLine line = ray(random.vector(), random.direction());
        const ZtVec3f far = line.getPosition() + line.getDirection() * 1000.0f;
        EXPECT_TRUE(line.intersect(-2e-4f, far));
        ZtVec3f aside = line.getDirection().cross(random.direction());
        aside.normalize();
        EXPECT_FALSE(line.intersect(-1, far + aside * 1.001f));
    }
}

// The segment's closest point by dense sampling of the segment in double precision.
TEST(Lines, PickSegments) {
    Random random(5);
    int hits = 0;
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        const ZtLine line = ray(random.vector(), random.direction());
        const ZtVec3f e0 = random.vector(), e1 = random.vector();
        const bool cone = round % 2;
        const float tolerance = cone ? 0.3f : -0.3f;
        const ZtVec3d p(line.getPosition()), a(line.getDirection()), q(e0);
        const ZtVec3d b = ZtVec3d(e1) - q;
        // From the normal equations of min |p + t a - q - u b|.
        const double A = a.dot(a), B = a.dot(b), C = b.dot(b), D = a.dot(q - p), E = b.dot(q - p);
        const double t = (D * C - B * E) / (A * C - B * B);
        const double u = std::clamp((B * D - A * E) / (A * C - B * B), 0.0, 1.0);
        const double distance = (p + a * t - q - b * u).length();
        const double measure = cone ? distance / std::abs(t) : distance;
        if (std::abs(measure - 0.3) < 1e-5 || std::abs(t) < 1e-5)
            continue;
        ZtVec3f hit;
        const bool expected = t > 0 && measure < 0.3;
        ASSERT_EQ(expected, line.intersect(tolerance, e0, e1, hit));
        hits += expected;
        if (expected)
            expectNear(q + b * u, hit, 100 * kEps);
        else
            EXPECT_TRUE(isMarked(hit));
    }
    EXPECT_GT(hits, kRounds / 20);
    ZtVec3f hit;
    const ZtLine x = ray(ZtVec3f(), ZtVec3f(1, 0, 0));
    EXPECT_FALSE(x.intersect(-1, ZtVec3f(1, 0, 0), ZtVec3f(2, 0, 0), hit)) << "parallel";
    EXPECT_FALSE(x.intersect(-1, ZtVec3f(1, 0, 0), ZtVec3f(1, 0, 0), hit)) << "a point";
    EXPECT_FALSE(x.intersect(-0.5f, ZtVec3f(2, 0.5f, 0), ZtVec3f(2, 2, 0), hit)) << "tie";
    EXPECT_TRUE(x.intersect(-0.51f, ZtVec3f(2, 0.5f, 0), ZtVec3f(2, 2, 0), hit));
    EXPECT_EQ(ZtVec3f(2, 0.5f, 0), hit);
    hit.setValue(2, -1, 0);
    EXPECT_TRUE(x.intersect(-1, hit, ZtVec3f(2, 1, 0), hit)) << "into its own end";
    EXPECT_EQ(ZtVec3f(2, 0, 0), hit);
}

// The line's points on the six faces; the entry and the exit are the first and last of them.
TEST(Lines, PassThroughBoxes) {
    Random random(6);
    int hits = 0;
    for (int round = 0; round < 4 * kRounds; ++round) {
        SCOPED_TRACE(round);
        const ZtVec3f c = random.vector();
        const ZtVec3f half(0.6f + 0.5f * random.number(), 0.6f, 0.3f);
        const ZtBox3f box(c - half, c + half);
        const ZtVec3f from = random.vector() * 3.0f;
        ZtVec3f direction = round % 2 ? random.direction() : c + random.vector() - from;
        if (round % 5 == 0)
            direction[round % 3] = 0;
        const ZtLine line = ray(from, direction);
        const ZtVec3d pos(line.getPosition()), dir(line.getDirection());
        std::vector<double> ts;
        bool atEdge = false;
        for (int face = 0; face < 6; ++face) {
            const int axis = face / 2;
            const double t = (box[face] - pos[axis]) / dir[axis];
            bool inside = dir[axis] != 0;
            for (const int k : {(axis + 1) % 3, (axis + 2) % 3}) {
                const double x = pos[k] + t * dir[k];
                inside = inside && x >= box[2 * k] && x <= box[2 * k + 1];
                atEdge = atEdge || std::abs(x - box[2 * k]) < 1e-6 ||
                         std::abs(x - box[2 * k + 1]) < 1e-6;
            }
            if (inside)
                ts.push_back(t);
        }
        if (atEdge)
            continue;
        std::sort(ts.begin(), ts.end());
        ZtVec3f enter, exit;
        const bool expected = !ts.empty() && ts.back() >= 0;
        ASSERT_EQ(expected, line.intersect(box, enter, exit));
        hits += expected;
        if (expected) {
            EXPECT_TRUE(line.intersect(-1e-3f, box));
            expectNear(pos + dir * ts.front(), enter, 4 * kEps);
            expectNear(pos + dir * ts.back(), exit, 4 * kEps);
        } else {
            EXPECT_TRUE(isMarked(enter) && isMarked(exit));
        }
    }
    EXPECT_GT(hits, kRounds / 4);
}

TEST(Lines, PickBoxesAtTheirEdges) {
    const ZtBox3f box(0, 1, 0, 1, 0, 1);
    const ZtVec3f x(1, 0, 0);
    struct Row {
        const char* name;
        ZtVec3f pos, dir;
        bool passes;
        float tolerance;
        bool picked;
    };
    for (const Row& row :
         {Row{"along a face", {-1, 0.5f, 1}, x, true, -0.1f, true},
          Row{"beside it", {-1, 0.5f, 1.05f}, x, false, -0.1f, true},
          Row{"beyond the tolerance", {-1, 0.5f, 1.15f}, x, false, -0.1f, false},
          Row{"in the cone", {-1, 0.5f, 1.15f}, x, false, 0.2f, true},
          Row{"from inside", {0.5f, 0.5f, 0.5f}, x, true, -0.1f, true},
          Row{"behind", {2, 0.5f, 0.5f}, x, false, -0.1f, false},
          Row{"from the exit", {1, 0.5f, 0.5f}, x, true, -0.1f, true},
          Row{"nearly parallel", {-1, 0.5f, 1}, {1, 0, 9e-7f}, true, -0.1f, true}}) {
        SCOPED_TRACE(row.name);
        const ZtLine line = ray(row.pos, row.dir);
        ZtVec3f enter, exit;
        EXPECT_EQ(row.passes, line.intersect(box, enter, exit));
        EXPECT_EQ(row.picked, line.intersect(row.tolerance, box));
        if (row.passes) {
            EXPECT_EQ(0, enter.x) << "also behind the position";
            EXPECT_EQ(1, exit.x);
        }
    }
    ZtVec3f enter, exit;
    const ZtLine past =
        ray(ZtVec3f(-1, 1.5f, 0.5f), ZtVec3f(1, -0.2f, 0));  // y reaches 1 at x = 1.5
    EXPECT_FALSE(past.intersect(box, enter, exit));
    EXPECT_FALSE(past.intersect(box, enter, exit, 0.5f));
    EXPECT_TRUE(past.intersect(box, enter, exit, 0.52f));
    EXPECT_FALSE(past.intersect(-9, ZtBox3f()));
    EXPECT_FALSE(past.intersect(ZtBox3f(0, 1, 1, 0, 0, 1), enter, exit));
    EXPECT_FALSE(ZtLine().intersect(-9, box));

    static_assert(!std::is_convertible_v<ZtVec3f, ZtBox3f>);
    static_assert(!std::is_convertible_v<const float*, ZtBox3f>);
    const float values[6] = {1, 2, 3, 4, 5, 6};
    ZtBox3f copy(values);
    for (int i = 0; i < 6; ++i)
        EXPECT_TRUE(copy[i] == values[i] && copy.getValue()[i] == values[i]);
    EXPECT_EQ(ZtVec3f(2, 3, 6), copy.corner(5));
    EXPECT_FALSE(copy.isEmpty());
    copy[3] = kNaN;
    EXPECT_TRUE(copy.isEmpty() && ZtBox3f().isEmpty());
    ContractCapture capture;
    if (kChecked) {
        EXPECT_THROW(copy[6], BrokenContract);
    }
}

// By Cramer's rule: position + t dir = p0 + beta (p1 - p0) + gamma (p2 - p0).
TEST(Lines, HitTriangles) {
    Random random(7);
    int hits = 0;
    for (int round = 0; round < 4 * kRounds; ++round) {
        SCOPED_TRACE(round);
        const ZtVec3f p0 = random.vector(), p1 = random.vector(), p2 = random.vector();
        ZtLine line = ray(random.vector(), random.direction());
        if (round % 2)
            line.setValue(line.getPosition(), (p0 + p1 + p2) / 3.0f + 0.3f * random.vector());
        const ZtVec3d e1 = ZtVec3d(p1) - ZtVec3d(p0), e2 = ZtVec3d(p2) - ZtVec3d(p0);
        const ZtVec3d dir(line.getDirection()), r = ZtVec3d(line.getPosition()) - ZtVec3d(p0);
        const double det = e1.cross(e2).dot(-dir);
        const double beta = r.cross(e2).dot(-dir) / det;
        const double gamma = e1.cross(r).dot(-dir) / det;
        const double t = e1.cross(e2).dot(r) / det;
        const double margin =
            std::min({std::abs(beta), std::abs(gamma), std::abs(1 - beta - gamma), std::abs(t)});
        if (margin < 1e-6)
            continue;
        const bool expected = beta > 0 && gamma > 0 && beta + gamma < 1 && t > 0;
        ZtVec3f point(7, 7, 7), weights(7, 7, 7);
        bool front = true;
        ASSERT_EQ(expected, line.intersect(p0, p1, p2, point, weights, front));
        hits += expected;
        if (!expected) {
            EXPECT_TRUE(!front && point == ZtVec3f(7, 7, 7) && weights == point);
            continue;
        }
        expectNear(ZtVec3d(1 - beta - gamma, beta, gamma), weights, 4 * kEps);
        expectNear(ZtVec3d(line.getPosition()) + dir * t, point, 4 * kEps);
        // Counter-clockwise as seen from the position: then the triangle shows its back.
        EXPECT_EQ(e1.cross(e2).dot(dir) > 0, front);
    }
    EXPECT_GT(hits, kRounds);
}

TEST(Lines, HitTrianglesAtTheirEdgesAndNotWhenDegenerate) {
    const ZtVec3f p0(0, 0, 0), p1(1, 0, 0), p2(0, 1, 0);
    const auto hits = [](const ZtVec3f& pos, const ZtVec3f& dir, const ZtVec3f& a, const ZtVec3f& b,
                         const ZtVec3f& c) {
        ZtVec3f point, weights;
        bool front;
        return ray(pos, dir).intersect(a, b, c, point, weights, front);
    };
    const ZtVec3f down(0, 0, -1);
    for (const ZtVec3f& on : {p0, p1, p2, ZtVec3f(0.5f, 0, 0), ZtVec3f(0.5f, 0.5f, 0)})
        for (int turn = 0; turn < 3; ++turn) {  // in all three coordinate planes
            const auto turned = [turn](const ZtVec3f& v) {
                return ZtVec3f(v[turn], v[(turn + 1) % 3], v[(turn + 2) % 3]);
            };
            for (const float z : {0.0f, 2.0f, -2.0f})
                EXPECT_EQ(z >= 0, hits(turned(on + ZtVec3f(0, 0, z)), turned(down), turned(p0),
                                       turned(p1), turned(p2)))
                    << on.x << " " << on.y << " " << z << " turn " << turn;
        }
    const ZtVec3f above(0.2f, 0.2f, 1);
    EXPECT_FALSE(hits(above, ZtVec3f(1, 0, 0), p0, p1, p2)) << "parallel";
    EXPECT_FALSE(hits(above, down, p0, p1, p1)) << "no area";
    EXPECT_FALSE(hits(above, down, p0, p1, ZtVec3f(0, 0.9e-10f, 0)));
    EXPECT_FALSE(hits(ZtVec3f(kNaN, 0, 0), down, p0, p1, p2));
}

TEST(Spheres, MeetLines) {
    Random random(8);
    int hits = 0;
    for (int round = 0; round < 2 * kRounds; ++round) {
        SCOPED_TRACE(round);
        const ZtSphere sphere(random.vector(), 0.8f + 0.7f * random.number());
        const ZtLine line = ray(random.vector() * (round % 3 ? 2.0f : 200.0f), random.direction());
        ZtVec3f aim = sphere.getCenter() + random.vector();
        const ZtLine aimed(line.getPosition(), aim);
        const ZtLine& used = round % 2 ? aimed : line;
        // The definition: the line's point closest to the centre, and half the chord from there.
        const ZtVec3d dir = unit(used.getDirection());
        const ZtVec3d pos(used.getPosition());
        const double middle = dir.dot(ZtVec3d(sphere.getCenter()) - pos);
        const double distance = (pos + dir * middle - ZtVec3d(sphere.getCenter())).length();
        const double radius = sphere.getRadius();
        if (std::abs(distance - radius) < 1e-3)
            continue;
        const bool expected = distance < radius;
        const double chord = expected ? std::sqrt(radius * radius - distance * distance) : 0;
        ZtVec3f enter(7, 7, 7), exit(7, 7, 7), point(7, 7, 7);
        ASSERT_EQ(expected, sphere.intersect(used, enter, exit));
        const double first = middle - chord, last = middle + chord;
        ASSERT_EQ(expected && last > 0, sphere.intersect(used, point));
        hits += expected;
        if (!expected) {
            EXPECT_TRUE(enter == ZtVec3f(7, 7, 7) && exit == enter && point == enter);
            continue;
        }
        const double bound = 20 * kEps * (1 + std::abs(middle) * 1e-2) / std::min(1.0, chord);
        expectNear(pos + dir * first, enter, bound);
        expectNear(pos + dir * last, exit, bound);
        if (last > 0) {
            EXPECT_EQ(first < 0 ? exit : enter, point);
        }
    }
    EXPECT_GT(hits, kRounds / 2);
}

TEST(Spheres, AtTiesAndDegenerate) {
    const ZtSphere sphere(ZtVec3f(5, 0, 0), 1);
    const ZtVec3f x(1, 0, 0);
    ZtVec3f point(7, 7, 7), exit;
    EXPECT_TRUE(sphere.intersect(ray(ZtVec3f(0, 1, 0), x), point)) << "tangent";
    EXPECT_EQ(ZtVec3f(5, 1, 0), point);
    EXPECT_TRUE(sphere.intersect(ray(ZtVec3f(5, 0, 0), x), point)) << "from inside";
    EXPECT_EQ(ZtVec3f(6, 0, 0), point);
    EXPECT_TRUE(sphere.intersect(ray(ZtVec3f(6, 0, 0), x), point)) << "from the far side";
    EXPECT_FALSE(sphere.intersect(ray(ZtVec3f(7, 0, 0), x), point)) << "behind";
    EXPECT_TRUE(sphere.intersect(ray(ZtVec3f(7, 0, 0), x), point, exit)) << "of the whole line";
    EXPECT_TRUE(sphere.intersect(ZtVec3f(9, 0, 0), ZtVec3f(8, 0, 0), point, exit));
    EXPECT_TRUE(point == ZtVec3f(6, 0, 0) && exit == ZtVec3f(4, 0, 0));
    EXPECT_FALSE(sphere.intersect(ZtVec3f(5, 0, 0), ZtVec3f(5, 0, 0), point, exit));
    EXPECT_FALSE(ZtSphere(ZtVec3f(), -1).intersect(ray(ZtVec3f(), x), point));
    EXPECT_FALSE(ZtSphere(ZtVec3f(), kNaN).intersect(ray(ZtVec3f(), x), point));

    ZtSphere s;
    EXPECT_TRUE(s.isEmpty() && !s.isConsistent() && s.isNumber() && s.getRadius() == -1);
    EXPECT_TRUE(ZtSphere::emptySphere().isEmpty());
    s.setRadius(0);
    EXPECT_TRUE(s.isNotEmpty() && s.isConsistent());
    s.setValue(ZtVec3f(0, kNaN, 0), 1);
    EXPECT_TRUE(s.isNoNumber() && !s.isConsistent() && s.isNotEmpty());
    s.circumscribe(ZtBox3f(1, 3, 2, 4, 3, 4));
    EXPECT_EQ(ZtVec3f(2, 3, 3.5f), s.getCenter());
    EXPECT_EQ(1.5f, s.getRadius());
    for (int axis = 0; axis < 3; ++axis) {
        ZtBox3f box(0, 1, 0, 1, 0, 1);
        box[2 * axis] = 2;
        s.circumscribe(box);
        EXPECT_TRUE(s.getCenter() == ZtVec3f() && s.getRadius() == -1);
    }
}

}  // namespace
