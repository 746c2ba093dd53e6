// Planes, lines, spheres and boxes: the queries of picking and clipping, against the definitions in
// double precision, and every tie and degenerate case.
#include <ztlib/ZtBox3f.h>
#include <ztlib/ZtLine.h>
#include <ztlib/ZtPlane.h>
#include <ztlib/ZtRotation.h>
#include <ztlib/ZtSphere.h>

#include "ContractCapture.h"
#include "GeometryOracle.h"

namespace {

using namespace oracle;

constexpr int kRounds = 1000;

ZtLine ray(const ZtVec3f& pos, const ZtVec3f& dir) {
    ZtLine line;
    line.setPosDir(pos, dir);
    return line;
}

ZtLine randomRay(Random& random) {
    const ZtVec3f pos = random.vector();
    return ray(pos, random.direction());
}

ZtVec3d pointAt(const ZtLine& line, double t) {
    return ZtVec3d(line.getPosition()) + ZtVec3d(line.getDirection()) * t;
}

TEST(Planes, AreSetAsStated) {
    const ZtVec3f z(0, 0, 1), zero;
    ZtPlane moved(-z, 4);
    moved.offset(-1);
    moved.revertOrientation();
    const struct {
        ZtPlane plane;
        ZtVec3f normal;
        float d;
    } rows[] = {{{}, zero, 0},
                {{zero, ZtVec3f(1, 2, 3)}, zero, 0},
                {{ZtVec3f(1, 2, 3), ZtVec3f(2, 4, 6), ZtVec3f(-1, -2, -3)}, zero, 0},
                {{z * 2.0f, 4}, z, 4},
                {{z * 2.0f, ZtVec3f(7, 8, 9)}, z, 9},
                {moved, z, -3}};
    for (const auto& [plane, normal, d] : rows) {
        EXPECT_TRUE(normal == plane.getNormal() && d == plane.getDistance()) << normal.z << d;
        EXPECT_TRUE(plane.isEmpty() == (normal == zero) && plane.isValid() == (normal == z));
    }
    ZtPlane plane;
    for (const float squared : {0.998f, 0.9995f, 1.0005f, 1.002f}) {
        plane.setNormal(ZtVec3f(0, std::sqrt(squared), 0));
        EXPECT_EQ(std::abs(squared - 1) > 0.001f, plane.isEmpty()) << squared;
    }
    plane.set(z, kNaN);
    EXPECT_TRUE(plane.isEmpty() && plane.isNoNumber() && moved.isNumber());
    plane.makeNaN();
    EXPECT_TRUE(isMarked(plane.getNormal()) && isMarked(plane.getDistance()));
    plane.makeEmpty();
    EXPECT_TRUE(plane.isNumber() && plane.isEmpty() && ZtPlane::emptyPlane().isEmpty());
}

TEST(Planes, MeasureProjectAndTransform) {
    inRounds(1, kRounds, [](Random& random, int) {
        const ZtVec3f p0 = random.vector(), p1 = random.vector(), p2 = random.vector();
        const ZtPlane plane(p0, p1, p2);
        const ZtVec3d normal(plane.getNormal());
        const ZtVec3d across = (ZtVec3d(p1) - ZtVec3d(p0)).cross(ZtVec3d(p2) - ZtVec3d(p0));
        expectNear(unit(across), plane.getNormal(), 2 * kEps);
        const ZtVec3f p = random.vector();
        const double distance = normal.dot(ZtVec3d(p)) - plane.getDistance();
        EXPECT_NEAR(distance, plane.getDistance(p), kEps / 2 * std::abs(distance));
        EXPECT_TRUE(std::abs(distance) < 2 * kEps || plane.isInHalfSpace(p) == (distance > 0));
        expectNear(ZtVec3d(p) - normal * distance, plane.getProjectedPoint(p), 2 * kEps);

        const ZtMat4f m = random.affine();
        if (std::abs(m.det3()) < 0.1f)
            return;
        ZtPlane moved = plane;
        moved.transform(m);
        for (ZtVec3f point : {p0, p1, p2}) {
            m.multVecMatrix(point, point);
            EXPECT_NEAR(0, moved.getDistance(point), 30 * kEps);
        }
        ZtVec3f image;
        m.multVecMatrix(p, image);
        EXPECT_TRUE(std::abs(distance) < 1e-3 || (distance > 0) == (moved.getDistance(image) > 0));
        moved.transformInv(m);
        EXPECT_TRUE(moved.getNormal().equals(plane.getNormal(), float(200 * kEps)));
        EXPECT_NEAR(plane.getDistance(), moved.getDistance(), 200 * kEps);
    });
    ZtPlane empty;
    empty.transform(ZtMat4f().setScale(2));
    EXPECT_TRUE(empty.isEmpty());
    ZtPlane lost(ZtVec3f(1, 0, 0), 3);
    lost.transformInv(ZtMat4f());
    EXPECT_TRUE(lost.isEmpty() && lost.getDistance() == 0);
}

TEST(Planes, CutLinesAndPlanes) {
    inRounds(2, kRounds, [](Random& random, int) {
        const ZtPlane plane(random.direction(), random.number());
        const ZtPlane other(random.direction(), random.number());
        const ZtLine line = randomRay(random);
        ZtVec3f point;
        float t = 0;
        ASSERT_TRUE(plane.intersect(line, point, &t));
        EXPECT_NEAR(0, plane.getDistance(point), 2 * kEps * (1 + std::abs(t)));
        expectNear(pointAt(line, t), point, 2 * kEps * (1 + std::abs(t)));

        ZtLine common;
        ASSERT_TRUE(plane.intersect(other, common));
        const ZtVec3d along = ZtVec3d(plane.getNormal()).cross(ZtVec3d(other.getNormal()));
        expectNear(unit(along), common.getDirection(), 2 * kEps);
        const double bound = 4 * kEps * (1 + common.getPosition().length());
        EXPECT_NEAR(0, plane.getDistance(common.getPosition()), bound);
        EXPECT_NEAR(0, other.getDistance(common.getPosition()), bound);
    });
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
}

TEST(Planes, AreNearEqualWithinTheTolerances) {
    const ZtPlane plane(ZtVec3f(0, 0, 1), 2);
    const struct {
        const char* name;
        ZtPlane other;
        bool near, nearOriented;
    } rows[] = {{"opposite", {ZtVec3f(0, 0, -1), -2}, true, false},
                {"shifted within", {ZtVec3f(0, 0, 1), 2.09f}, true, true},
                {"shifted beyond", {ZtVec3f(0, 0, 1), 2.11f}, false, false},
                {"turned within", {ZtVec3f(0.0009f, 0, 1), 2}, true, true},
                {"turned beyond", {ZtVec3f(0.0011f, 0, 1), 2}, false, false},
                {"empty", {}, false, false}};
    for (const auto& [name, other, near, nearOriented] : rows) {
        SCOPED_TRACE(name);
        const ZtVec3f center(1, 1, 2);
        EXPECT_EQ(near, plane.isNearEqualInROI(other, center, 0.1f, 1e-3f, false));
        EXPECT_EQ(nearOriented, plane.isNearEqualInROI(other, center, 0.1f, 1e-3f, true));
        if (std::abs(other.getDistance()) == 2) {
            EXPECT_EQ(near, plane.isNearEqualNormal(other.getNormal(), false));
            EXPECT_EQ(nearOriented, plane.isNearEqualNormal(other.getNormal(), true));
        }
    }
}

TEST(Lines, AreNaNUntilTheyHaveTwoPoints) {
    for (const ZtLine& line : {ZtLine(), ZtLine(ZtVec3f(1, 2, 3), ZtVec3f(1, 2, 3))}) {
        EXPECT_TRUE(isMarked(line.getPosition()) && isMarked(line.getDirection()));
        EXPECT_TRUE(line.isNoNumber());
    }
    ZtLine line(ZtVec3f(1, 2, 3), ZtVec3f(1, 2, 8));
    EXPECT_EQ(ZtVec3f(0, 0, 1), line.getDirection());
    line.transform(ZtMat4f().setTransform(ZtVec3f(1, 1, 1), ZtRotation(), ZtVec3f(2, 2, 2)));
    EXPECT_EQ(ZtVec3f(3, 5, 7), line.getPosition());
    EXPECT_EQ(ZtVec3f(0, 0, 2), line.getDirection());
}

// The feet lie on the lines, and what joins them is at right angles to both.
TEST(Lines, ComeClosestAtRightAngles) {
    inRounds(3, kRounds, [](Random& random, int round) {
        const ZtLine a = randomRay(random);
        ZtLine b = randomRay(random);
        if (round % 4 == 0)  // nearly parallel
            b.setPosDir(b.getPosition(), a.getDirection() + random.vector() * 1e-3f);
        ZtVec3f onA, onB;
        ASSERT_TRUE(a.getClosestPoints(b, onA, onB));
        const double reach = 1 + ZtVec3d(onA).length() + ZtVec3d(onB).length();
        for (const auto& [line, foot] : {std::pair(a, onA), std::pair(b, onB)}) {
            const ZtVec3d along(line.getDirection());
            EXPECT_NEAR(0, along.dot(ZtVec3d(onB) - ZtVec3d(onA)), 4 * kEps * reach);
            const ZtVec3d arm = ZtVec3d(foot) - ZtVec3d(line.getPosition());
            EXPECT_NEAR(0, along.cross(arm).length(), 2 * kEps * reach);
        }
        const ZtVec3f p = random.vector();
        const ZtVec3d arm = ZtVec3d(p) - ZtVec3d(a.getPosition());
        expectNear(pointAt(a, arm.dot(ZtVec3d(a.getDirection()))), a.getClosestPoint(p), 4 * kEps);
    });
    ZtVec3f p, q;
    EXPECT_FALSE(ray(ZtVec3f(), ZtVec3f(1, 2, 3))
                     .getClosestPoints(ray(ZtVec3f(5, 0, 0), ZtVec3f(-1, -2, -3)), p, q));
    EXPECT_TRUE(isMarked(p) && isMarked(q));
}

TEST(Lines, PickPoints) {
    const struct {
        const char* name;
        ZtVec3f point;
        float tolerance;
        bool hit;
    } rows[] = {
        {"on the ray", {2, 0, 0}, -0.1f, true},
        {"behind", {-1, 0, 0}, -1, false},
        {"within the cylinder", {3, 0.4f, 0}, -0.5f, true},
        {"on the cylinder", {3, 0.5f, 0}, -0.5f, false},
        {"within the cone", {4, 0, 0.9f}, 0.25f, true},
        {"on the cone", {4, 0, 1}, 0.25f, false},
        {"no cone", {4, 0, 0}, 0, false},
        {"NaN", {4, kNaN, 0}, -9, false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.hit, ray(ZtVec3f(), ZtVec3f(1, 0, 0)).intersect(row.tolerance, row.point))
            << row.name;
}

// The feet are chosen: on the line at t, on the line through the segment where the segment lies or
// before or after it.
TEST(Lines, PickSegments) {
    inRounds(5, 2 * kRounds, [](Random& random, int round) {
        const ZtLine line = randomRay(random);
        const ZtVec3f dir = line.getDirection();
        ZtVec3f up = dir.cross(random.direction());
        const float t = 2 * random.number(), before = 1.5f * random.number() + 0.5f;
        if (up.normalize() < 0.1f || std::abs(t) < 0.01f)
            return;
        const ZtVec3f onLine = line.getPosition() + dir * t;
        const ZtVec3f foot = onLine + up * (0.6f * random.number());
        const ZtVec3f along =
            dir * random.number() + up.cross(dir) * (0.6f + 0.5f * random.number());
        const ZtVec3f expectedHit =
            foot - along * (before < 0 ? before : std::max(before - 1, 0.0f));
        const bool cone = round % 2;
        const float distance = (expectedHit - onLine).length();
        const float measure = cone ? distance / std::abs(t) : distance;
        if (std::abs(measure - 0.3f) < 1e-4f)
            return;
        ZtVec3f hit;
        const bool expected = t > 0 && measure < 0.3f;
        ASSERT_EQ(expected, line.intersect(cone ? 0.3f : -0.3f, foot - along * before,
                                           foot - along * (before - 1), hit));
        EXPECT_TRUE(expected ? hit.equals(expectedHit, 2e-5f) : isMarked(hit));
    });
    ZtVec3f hit;
    const ZtLine x = ray(ZtVec3f(), ZtVec3f(1, 0, 0));
    EXPECT_FALSE(x.intersect(-1, ZtVec3f(1, 0, 0), ZtVec3f(2, 0, 0), hit)) << "parallel";
    EXPECT_FALSE(x.intersect(-1, ZtVec3f(1, 0, 0), ZtVec3f(1, 0, 0), hit)) << "a point";
    EXPECT_FALSE(x.intersect(-0.5f, ZtVec3f(2, 0.5f, 0), ZtVec3f(2, 2, 0), hit)) << "tie";
    hit.setValue(2, -1, 0);
    EXPECT_TRUE(x.intersect(-1, hit, ZtVec3f(2, 1, 0), hit)) << "into its own end";
    EXPECT_EQ(ZtVec3f(2, 0, 0), hit);
}

// The points where the line enters and leaves are chosen, on two faces.
TEST(Lines, PassThroughBoxes) {
    inRounds(6, 4 * kRounds, [](Random& random, int round) {
        const ZtVec3f c = random.vector(), half(0.6f + 0.5f * random.number(), 0.6f, 0.3f);
        const ZtBox3f box(c - half, c + half);
        ZtVec3f faces[2];
        for (int i = 0; i < 2; ++i) {
            const int axis = random.below(3), side = i ^ (round & 1);
            for (int k = 0; k < 3; ++k)
                faces[i][k] = c[k] + half[k] * 0.99f * random.number();
            faces[i][axis] = box[2 * axis + side];
        }
        const ZtVec3f along = faces[1] - faces[0];
        const float before = 2 * random.number();  // along the line, before it enters
        const ZtLine line = ray(faces[0] - along * before, along * (2 + random.number()));
        if (along.length() < 0.1f || std::abs(before + 1) < 1e-3f)
            return;
        ZtVec3f enter, exit;
        const bool expected = before > -1;
        ASSERT_EQ(expected, line.intersect(box, enter, exit));
        EXPECT_EQ(expected, line.intersect(-1e-3f, box));
        if (expected)
            EXPECT_TRUE(enter.equals(faces[0], 2e-5f) && exit.equals(faces[1], 2e-5f));
        else
            EXPECT_TRUE(isMarked(enter) && isMarked(exit));
    });
}
TEST(Lines, PickBoxesAtTheirEdges) {
    const float bounds[6] = {0, 1, 0, 1, 0, 1};
    const ZtBox3f box(bounds);
    const ZtVec3f x(1, 0, 0);
    const struct {
        const char* name;
        ZtVec3f pos, dir;
        bool passes;
        float tolerance;
        bool picked;
    } rows[] = {{"along a face", {-1, 0.5f, 1}, x, true, -0.1f, true},
                {"beside it", {-1, 0.5f, 1.05f}, x, false, -0.1f, true},
                {"in the cone", {-1, 0.5f, 1.15f}, x, false, 0.2f, true},
                {"behind", {2, 0.5f, 0.5f}, x, false, -0.1f, false},
                {"from the exit", {1, 0.5f, 0.5f}, x, true, -0.1f, true},
                {"nearly parallel", {-1, 0.5f, 1}, {1, 0, 9e-7f}, true, -0.1f, true}};
    ZtVec3f enter, exit;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const ZtLine line = ray(row.pos, row.dir);
        EXPECT_EQ(row.passes, line.intersect(box, enter, exit));
        EXPECT_EQ(row.picked, line.intersect(row.tolerance, box));
        EXPECT_TRUE(!row.passes || (enter.x == 0 && exit.x == 1)) << "also behind the position";
    }
    const ZtLine past = ray({-1, 1.5f, 0.5f}, {1, -0.2f, 0});  // y reaches 1 at x = 1.5
    EXPECT_FALSE(past.intersect(box, enter, exit, 0.5f));
    EXPECT_TRUE(past.intersect(box, enter, exit, 0.52f));
    EXPECT_FALSE(past.intersect(-9, ZtBox3f()));
    EXPECT_FALSE(past.intersect(ZtBox3f(0, 1, 1, 0, 0, 1), enter, exit));
    EXPECT_FALSE(ZtLine().intersect(-9, box));
    EXPECT_TRUE(std::equal(bounds, bounds + 6, box.getValue()));
    EXPECT_EQ(ZtVec3f(2, 3, 6), ZtBox3f(1, 2, 3, 4, 5, 6).corner(5));
    ZtBox3f marked = box;
    marked[3] = kNaN;
    EXPECT_TRUE(marked.isEmpty() && !box.isEmpty());
    ContractCapture capture;
    if (kChecked) {
        EXPECT_THROW(marked[6], BrokenContract);
    }
}

// The point is chosen by its weights, of which some are negative.
TEST(Lines, HitTriangles) {
    inRounds(7, 4 * kRounds, [&](Random& random, int) {
        const ZtVec3f p0 = random.vector(), p1 = random.vector(), p2 = random.vector();
        const double beta = 0.5 + double(random.number()), gamma = 0.5 + double(random.number());
        const double alpha = 1 - beta - gamma;
        const ZtVec3d target = ZtVec3d(p0) * alpha + ZtVec3d(p1) * beta + ZtVec3d(p2) * gamma;
        const ZtLine line(random.vector() * 2.0f, ZtVec3f(target));
        const ZtVec3d normal = (ZtVec3d(p1) - ZtVec3d(p0)).cross(ZtVec3d(p2) - ZtVec3d(p0));
        const double slope = normal.dot(ZtVec3d(line.getDirection()));
        const double inside = std::min({alpha, beta, gamma});
        if (std::abs(inside) < 1e-4 || std::abs(slope) < 0.1)
            return;
        ZtVec3f point(7, 7, 7), weights(7, 7, 7);
        bool front = true;
        ASSERT_EQ(inside > 0, line.intersect(p0, p1, p2, point, weights, front));
        if (inside < 0) {
            EXPECT_TRUE(!front && point == ZtVec3f(7, 7, 7) && weights == point);
            return;
        }
        expectNear(ZtVec3d(alpha, beta, gamma), weights, 100 * kEps);
        expectNear(target, point, 20 * kEps);
        // Counter-clockwise as seen from the position: then the triangle shows its back.
        EXPECT_EQ(slope > 0, front);
    });
}
TEST(Lines, HitTrianglesAtTheirEdgesAndNotWhenDegenerate) {
    // The triangle of the origin, x and c, turned into each of the coordinate planes.
    const auto hits = [](ZtVec3f pos, ZtVec3f dir, ZtVec3f c, int turn) {
        ZtVec3f b(1, 0, 0), point, weights;
        for (ZtVec3f* v : {&pos, &dir, &b, &c})
            *v = ZtVec3f((*v)[turn], (*v)[(turn + 1) % 3], (*v)[(turn + 2) % 3]);
        bool front;
        return ray(pos, dir).intersect(ZtVec3f(), b, c, point, weights, front);
    };
    const ZtVec3f down(0, 0, -1), y(0, 1, 0), above(0.2f, 0.2f, 1);
    for (const auto& [u, v] : {std::pair(0.0f, 0.0f), {1, 0}, {0, 1}, {0.5f, 0}, {0.5f, 0.5f}})
        for (int turn = 0; turn < 3; ++turn)
            for (const float z : {0.0f, 2.0f, -2.0f})
                EXPECT_EQ(z >= 0, hits(ZtVec3f(u, v, z), down, y, turn))
                    << u << " " << v << " " << z << " turn " << turn;
    EXPECT_FALSE(hits(above, ZtVec3f(1, 0, 0), y, 0)) << "parallel";
    EXPECT_FALSE(hits(above, down, ZtVec3f(1, 0, 0), 0)) << "no area";
    EXPECT_FALSE(hits(above, down, y * 0.9e-10f, 0));
    EXPECT_FALSE(hits(ZtVec3f(kNaN, 0, 0), down, y, 0));
}

// The points of entry and exit are chosen, or a line that stays outside.
TEST(Spheres, MeetLines) {
    inRounds(8, 2 * kRounds, [&](Random& random, int round) {
        const ZtSphere sphere(random.vector(), 0.8f + 0.7f * random.number());
        const ZtVec3d center(sphere.getCenter());
        const double radius = sphere.getRadius();
        const ZtVec3d a(random.direction()), b(random.direction());
        if ((a - b).length() < 0.3)
            return;
        const bool expected = round % 4 != 0;
        const ZtVec3d lift = expected ? ZtVec3d() : unit(a + b) * radius;
        const ZtVec3d in = center + a * radius + lift, out = center + b * radius + lift;
        const double before = 2 * double(random.number());  // along the chord, before the entry
        const ZtLine line =
            ray(ZtVec3f(in - (out - in) * before), ZtVec3f(out - in) * (2 + random.number()));
        if (std::abs(before) < 1e-3 || std::abs(before + 1) < 1e-3)
            return;
        ZtVec3f enter(7, 7, 7), exit(7, 7, 7), point(7, 7, 7);
        ASSERT_EQ(expected, sphere.intersect(line, enter, exit));
        ASSERT_EQ(expected && before > -1, sphere.intersect(line, point));
        if (!expected) {
            EXPECT_TRUE(enter == ZtVec3f(7, 7, 7) && exit == enter && point == enter);
            return;
        }
        expectNear(in, enter, 100 * kEps);
        expectNear(out, exit, 100 * kEps);
        EXPECT_TRUE(before <= -1 || point == (before < 0 ? exit : enter));
    });
}
TEST(Spheres, AtTiesAndDegenerate) {
    const ZtSphere sphere(ZtVec3f(5, 0, 0), 1);
    const ZtVec3f x(1, 0, 0);
    ZtVec3f point(7, 7, 7), exit;
    EXPECT_TRUE(sphere.intersect(ray(ZtVec3f(0, 1, 0), x), point)) << "tangent";
    EXPECT_EQ(ZtVec3f(5, 1, 0), point);
    EXPECT_FALSE(sphere.intersect(ray(ZtVec3f(7, 0, 0), x), point)) << "behind";
    EXPECT_TRUE(sphere.intersect(ZtVec3f(9, 0, 0), ZtVec3f(8, 0, 0), point, exit));
    EXPECT_TRUE(point == ZtVec3f(6, 0, 0) && exit == ZtVec3f(4, 0, 0));
    EXPECT_FALSE(sphere.intersect(ZtVec3f(5, 0, 0), ZtVec3f(5, 0, 0), point, exit));
    for (const float radius : {-1.0f, kNaN})
        EXPECT_FALSE(ZtSphere(ZtVec3f(), radius).intersect(ray(ZtVec3f(), x), point));

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
