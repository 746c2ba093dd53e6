// Planes that cut boxes: every case that a plane gives against brute-force geometry.
#include <ztlib/ZtCutBoxPlane.h>
#include <ztlib/ZtCutBoxPlaneDouble.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "ContractCapture.h"
#include "Reference.h"

namespace {

using reference::kEps;
using reference::Random;

using Edge = std::pair<int, int>;

// The edges between the corners in a set and the others.
std::set<Edge> cutEdges(int corners) {
    std::set<Edge> edges;
    for (int b = 0; b < 8; ++b)
        for (const int bit : {1, 2, 4})
            if (!(b & bit) && (corners >> b & 1) != (corners >> (b | bit) & 1))
                edges.insert({b | bit, b});
    return edges;
}

std::vector<Edge> edgesOf(const ZtCutBoxCase& row) {
    std::vector<Edge> edges;
    for (int i = 0; i < row.count; ++i)
        edges.push_back({row.edges[i] >> 3, row.edges[i] & 7});
    return edges;
}

// Whether two edges lie in one face: their four corners agree in one bit.
bool shareFace(const Edge& a, const Edge& b) {
    const int all = a.first & a.second & b.first & b.second;
    const int none = ~(a.first | a.second | b.first | b.second) & 7;
    return all != 0 || none != 0;
}

// The sets of corners, 7 not among them, that a plane can separate from the rest.
std::set<int> separableSets() {
    std::set<int> sets;
    Random random(1);
    for (int i = 0; i < 200000; ++i) {
        const ZtVec3f normal = random.vector();
        const float d = 2 * random.number();
        int corners = 0;
        for (int k = 0; k < 8; ++k) {
            const float value =
                (k & 1 ? normal.x : 0) + (k & 2 ? normal.y : 0) + (k & 4 ? normal.z : 0);
            corners |= (d > value) << k;
        }
        sets.insert(corners > 127 ? corners ^ 255 : corners);
    }
    return sets;
}

TEST(CutBox, CasesAreThePolygonsOfTheirCutEdges) {
    const std::set<int> separable = separableSets();
    EXPECT_EQ(52u, separable.size()) << "51 and the empty set";
    int filled = 0;
    for (int corners = 0; corners < 128; ++corners) {
        SCOPED_TRACE(corners);
        const std::vector<Edge> edges = edgesOf(ztCutBoxCase(corners));
        filled += !edges.empty();
        if (!edges.empty()) {
            EXPECT_EQ(cutEdges(corners), std::set<Edge>(edges.begin(), edges.end()));
        }
        EXPECT_EQ(std::set<Edge>(edges.begin(), edges.end()).size(), edges.size());
        if (separable.count(corners)) {
            EXPECT_EQ(cutEdges(corners).size(), edges.size());
            for (std::size_t i = 0; i < edges.size(); ++i)
                EXPECT_TRUE(shareFace(edges[i], edges[(i + 1) % edges.size()]));
        }
    }
    EXPECT_EQ(79, filled);
    ContractCapture capture;
    if (kChecked) {
        EXPECT_THROW(ztCutBoxCase(128), BrokenContract);
    }
}

template <class Plane, class Number>
struct Kind {
    using Cutter = Plane;
    using T = Number;
    using Vec = ZtVec3<Number>;
};

template <class K>
class CutBoxes : public testing::Test {};
using Kinds = testing::Types<Kind<ZtCutBoxPlane, float>, Kind<ZtCutBoxPlaneDouble, double>>;
TYPED_TEST_SUITE(CutBoxes, Kinds);

// The vertices lie on the plane and on the cut edges, go round the polygon once, and have the
// corresponding points of the second box, which is an affine image of the first.
TYPED_TEST(CutBoxes, GiveThePolygonAndItsImage) {
    using T = typename TypeParam::T;
    using Vec = typename TypeParam::Vec;
    const double eps = double(std::numeric_limits<T>::epsilon());
    Random random(2);
    std::set<int> counts;
    for (int round = 0; round < 20000; ++round) {
        SCOPED_TRACE(round);
        const ZtVec3f c = random.vector();
        const T box[6] = {T(c.x), T(c.x + 1.5f), T(c.y), T(c.y + 1), T(c.z), T(c.z + 0.7f)};
        const T box2[6] = {0, 1, -5, 5, T(0.25), T(0.75)};
        const Vec normal(random.vector() * 2.0f);
        const typename TypeParam::Cutter cutter(box, box2, normal);
        const auto corner = [&](int k) {
            return Vec(box[k & 1], box[2 + (k >> 1 & 1)], box[4 + (k >> 2)]);
        };
        const T d = normal.dot(corner(0)) +
                    (normal.dot(corner(7)) - normal.dot(corner(0))) * T(random.number() * 1.5f);
        int below = 0;
        for (int k = 0; k < 8; ++k)
            below |= (d > normal.dot(corner(k))) << k;
        const std::set<Edge> edges = cutEdges(below);
        // Where the plane cuts each edge, and how fast the edge crosses it.
        struct Cut {
            ZtVec3d point;
            double slope;
        };
        std::map<Edge, Cut> expected;
        bool nearCorner = false;
        for (const Edge& edge : edges) {
            const ZtVec3d from(corner(edge.second)), along = ZtVec3d(corner(edge.first)) - from;
            const double slope = ZtVec3d(normal).dot(along);
            const double t = (double(d) - ZtVec3d(normal).dot(from)) / slope;
            expected[edge] = {from + along * t, std::abs(slope)};
            nearCorner = nearCorner || t < 1e-3 || t > 0.999;
        }
        if (nearCorner)  // where rounding decides between edges that meet
            continue;
        Vec v[6], w[6], twice[6];
        const int count = cutter.cutPlane(d, v);
        ASSERT_EQ(static_cast<int>(edges.size()), count);
        ASSERT_EQ(count, cutter.cutPlane(d, twice, w));
        counts.insert(count);
        std::set<Edge> seen;
        ZtVec3d area;
        for (int i = 0; i < count; ++i) {
            const ZtVec3d p(v[i]);
            EXPECT_NEAR(double(d), ZtVec3d(normal).dot(p), 16 * eps);
            for (const auto& [edge, cut] : expected) {
                if ((cut.point - p).length() <= 16 * eps / std::min(1.0, cut.slope))
                    seen.insert(edge);
            }
            for (int k = 0; k < 3; ++k) {
                const double t = (p[k] - box[2 * k]) / (box[2 * k + 1] - box[2 * k]);
                EXPECT_NEAR(box2[2 * k] + t * (box2[2 * k + 1] - box2[2 * k]), double(w[i][k]),
                            100 * eps);
                EXPECT_NEAR(p[k], double(twice[i][k]), 4 * eps);
            }
            area += p.cross(ZtVec3d(v[(i + 1) % count]));
        }
        EXPECT_EQ(edges, seen);
        // Convex: every corner turns the way that the whole turns.
        for (int i = 0; i < count; ++i) {
            const ZtVec3d a = ZtVec3d(v[(i + 1) % count]) - ZtVec3d(v[i]);
            const ZtVec3d b = ZtVec3d(v[(i + 2) % count]) - ZtVec3d(v[(i + 1) % count]);
            EXPECT_GE(a.cross(b).dot(area), -100 * eps);
        }
    }
    EXPECT_EQ((std::set<int>{0, 3, 4, 5, 6}), counts);
}

TYPED_TEST(CutBoxes, AtCornersFacesAndOutside) {
    using T = typename TypeParam::T;
    using Vec = typename TypeParam::Vec;
    using Cutter = typename TypeParam::Cutter;
    Vec v[6], w[6];
    const Cutter unit;
    EXPECT_EQ(Vec(1, 0, 0), unit.getNormal());
    EXPECT_EQ(T(1), unit.getBox()[5]);
    struct Row {
        const char* name;
        T d;
        int count;
    };
    for (const Row& row :
         {Row{"below", T(-0.1), 0}, Row{"on the lower face", 0, 0}, Row{"inside", T(0.5), 4},
          Row{"on the upper face", 1, 4}, Row{"above", T(1.1), 0},
          Row{"NaN", std::numeric_limits<T>::quiet_NaN(), 0}}) {
        SCOPED_TRACE(row.name);
        ASSERT_EQ(row.count, unit.cutPlane(row.d, v));
        ASSERT_EQ(row.count, unit.cutPlane(row.d, v, w));
        for (int i = 0; i < row.count; ++i)
            EXPECT_TRUE(v[i].x == row.d && v[i] == w[i]);
    }
    // Only corner 0 lies below; the normal's length counts.
    const Cutter diagonal(Vec(0, 0, 0), Vec(1, 1, 1), Vec(2, 2, 2));
    ASSERT_EQ(3, diagonal.cutPlane(T(1), v));
    EXPECT_TRUE(v[0] == Vec(0, T(0.5), 0) && v[1] == Vec(0, 0, T(0.5)) &&
                v[2] == Vec(T(0.5), 0, 0));
    ASSERT_EQ(3, diagonal.cutPlane(Vec(T(0.5), 0, 0), v, w));
    EXPECT_EQ(Vec(0, T(0.5), 0), v[0]);
    // Through corners 1, 2 and 4, which count as above: their edges are cut at their very ends.
    ASSERT_EQ(3, diagonal.cutPlane(Vec(1, 0, 0), v));
    EXPECT_TRUE(v[0] == Vec(0, 1, 0) && v[1] == Vec(0, 0, 1) && v[2] == Vec(1, 0, 0));
    EXPECT_EQ(0, diagonal.cutPlane(T(0), v));
    ASSERT_EQ(3, diagonal.cutPlane(T(6), v));
    for (const Vec& vertex : {v[0], v[1], v[2]})
        EXPECT_EQ(Vec(1, 1, 1), vertex) << "all at the last corner";
    // Values too close together to divide by: the edges' midpoints.
    const Cutter faint(Vec(0, 0, 0), Vec(1, 1, 1), Vec(T(9e-9), 0, 0));
    ASSERT_EQ(4, faint.cutPlane(T(1e-9), v));
    EXPECT_EQ(T(0.5), v[2].x);
    const Cutter lessFaint(Vec(0, 0, 0), Vec(1, 1, 1), Vec(T(1.1e-8), 0, 0));
    ASSERT_EQ(4, lessFaint.cutPlane(T(1.1e-9), v));
    EXPECT_NEAR(0.1, double(v[2].x), 1e-6);
}

}  // namespace
