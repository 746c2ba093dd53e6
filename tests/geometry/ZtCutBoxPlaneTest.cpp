// Planes that cut boxes: every case that a plane gives against brute-force geometry.
#include <ztlib/ZtCutBoxPlane.h>
#include <ztlib/ZtCutBoxPlaneDouble.h>

#include "ContractCapture.h"
#include "GeometryOracle.h"

namespace {

using oracle::Random;

template <class Plane>
class CutBoxes : public testing::Test {};
using Planes = testing::Types<ZtCutBoxPlane, ZtCutBoxPlaneDouble>;
TYPED_TEST_SUITE(CutBoxes, Planes);

template <class Plane>
using Vec = std::remove_cvref_t<decltype(Plane().getNormal())>;
template <class Plane>
using Number = std::remove_cvref_t<decltype(Vec<Plane>().x)>;

// The vertices lie on the plane and on edges, as many as it cuts, go round a convex polygon, and
// have the corresponding points of the second box, which is an affine image of the first.
TYPED_TEST(CutBoxes, GiveThePolygonAndItsImage) {
    using T = Number<TypeParam>;
    using V = Vec<TypeParam>;
    const double eps = double(std::numeric_limits<T>::epsilon());
    std::set<int> cases;  // of corners below the plane
    oracle::inRounds(2, 20000, [&](Random& random, int) {
        const ZtVec3f c = random.vector();
        const T box[6] = {T(c.x), T(c.x + 1.5f), T(c.y), T(c.y + 1), T(c.z), T(c.z + 0.7f)};
        const T box2[6] = {0, 1, -5, 5, T(0.25), T(0.75)};
        const V normal(random.vector() * 2.0f);
        const TypeParam cutter(box, box2, normal);
        const auto corner = [&](int k) {
            return V(box[k & 1], box[2 + (k >> 1 & 1)], box[4 + (k >> 2)]);
        };
        const T least = normal.dot(corner(0));
        const T d = least + (normal.dot(corner(7)) - least) * T(random.number() * 1.5f);
        int below = 0;
        for (int k = 0; k < 8; ++k)
            below |= (d > normal.dot(corner(k))) << k;
        int edges = 0;
        for (int k = 0; k < 24; ++k) {
            const int from = k / 3, to = from | 1 << k % 3;
            if ((below >> from & 1) == (below >> to & 1))
                continue;
            ++edges;
            const double start = double(normal.dot(corner(from)));
            const double t = (double(d) - start) / (double(normal.dot(corner(to))) - start);
            if (t < 1e-3 || t > 0.999)
                return;  // rounding decides between edges that meet
        }
        V v[6], w[6], twice[6];
        const int count = cutter.cutPlane(d, v);
        ASSERT_EQ(edges, count);
        ASSERT_EQ(count, cutter.cutPlane(d, twice, w));
        cases.insert(below);
        ZtVec3d area;
        for (int i = 0; i < count; ++i) {
            const ZtVec3d p(v[i]);
            EXPECT_NEAR(double(d), ZtVec3d(normal).dot(p), 16 * eps);
            EXPECT_FALSE(v[i] == v[(i + 1) % count]);
            int atBounds = 0;
            for (int k = 0; k < 3; ++k) {
                const double t = (p[k] - box[2 * k]) / (box[2 * k + 1] - box[2 * k]);
                EXPECT_NEAR(box2[2 * k] + t * (box2[2 * k + 1] - box2[2 * k]), double(w[i][k]),
                            100 * eps);
                EXPECT_NEAR(p[k], double(twice[i][k]), 4 * eps);
                atBounds += std::min(std::abs(t), std::abs(t - 1)) < 4 * eps;
            }
            EXPECT_EQ(2, atBounds);
            area += p.cross(ZtVec3d(v[(i + 1) % count]));
        }
        // Convex: every corner turns the way that the whole turns.
        for (int i = 0; i < count; ++i) {
            const ZtVec3d at(v[(i + 1) % count]);
            const ZtVec3d a = at - ZtVec3d(v[i]), b = ZtVec3d(v[(i + 2) % count]) - at;
            EXPECT_GE(a.cross(b).dot(area), -100 * eps);
        }
    });
    EXPECT_EQ(2u * 51 + 2, cases.size()) << "all that a plane gives, and nothing and all below";
    ContractCapture capture;
    if (kChecked) {
        EXPECT_THROW(ztCutBoxCase(128), BrokenContract);
    }
}

TYPED_TEST(CutBoxes, AtCornersFacesAndOutside) {
    using T = Number<TypeParam>;
    using V = Vec<TypeParam>;
    V v[6], w[6];
    const TypeParam unit;
    EXPECT_TRUE(unit.getNormal() == V(1, 0, 0) && unit.getBox()[5] == 1);
    const std::pair<T, int> rows[] = {{T(-0.1), 0}, {T(0), 0},
                                      {T(0.5), 4},  {T(1), 4},
                                      {T(1.1), 0},  {std::numeric_limits<T>::quiet_NaN(), 0}};
    for (const auto& [d, count] : rows) {
        EXPECT_EQ(count, unit.cutPlane(d, v)) << d;
        EXPECT_EQ(count, unit.cutPlane(d, v, w)) << d;
        for (int i = 0; i < count; ++i)
            EXPECT_TRUE(v[i].x == d && v[i] == w[i]) << d;
    }
    // Only corner 0 lies below; the normal's length counts. Through corners 1, 2 and 4, which count
    // as above, the edges are cut at their very ends; then all at the last corner.
    const V zero(0, 0, 0), one(1, 1, 1);
    const TypeParam diagonal(zero, one, V(2, 2, 2));
    for (const T d : {T(1), T(2)}) {
        ASSERT_EQ(3, diagonal.cutPlane(d, v));
        EXPECT_TRUE(v[0] == V(0, d / 2, 0) && v[1] == V(0, 0, d / 2) && v[2] == V(d / 2, 0, 0));
        V again[6];
        ASSERT_EQ(3, diagonal.cutPlane(V(d / 2, 0, 0), again, w));
        EXPECT_EQ(v[0], again[0]);
        EXPECT_EQ(3, diagonal.cutPlane(V(d / 2, 0, 0), again));
    }
    EXPECT_EQ(0, diagonal.cutPlane(T(0), v));
    ASSERT_EQ(3, diagonal.cutPlane(T(6), v));
    EXPECT_TRUE(v[0] == one && v[1] == one && v[2] == one);
    // Values too close together to divide by: the edges' midpoints.
    const std::pair<double, double> faint[] = {{9e-9, 0.5}, {1.1e-8, 0.1}};
    for (const auto& [slope, x] : faint) {
        const TypeParam cutter(zero, one, V(T(slope), 0, 0));
        ASSERT_EQ(4, cutter.cutPlane(T(slope * 0.1), v));
        EXPECT_NEAR(x, double(v[2].x), 1e-6);
    }
}

}  // namespace
