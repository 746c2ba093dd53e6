// Scan conversion against counting the crossings of each pixel's centre in exact arithmetic.
#include <gtest/gtest.h>
#include <ztlib/ZtScanConvert.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <utility>
#include <vector>

namespace {

constexpr int kUnits = 4;  // coordinates are multiples of a quarter

/// A vertex in quarters of a pixel.
struct Point {
    long long x, y;
};

struct Window {
    int x0, y0, x1, y1;
};

using Pixels = std::map<std::pair<int, int>, int>;  // (y, x): how often

void countSpan(void* pixels, int xl, int xr, int y) {
    for (long long x = xl; x <= xr; ++x)
        ++(*static_cast<Pixels*>(pixels))[{y, static_cast<int>(x)}];
}

Pixels render(const std::vector<ZtVec2f>& points, const Window& w) {
    Pixels pixels;
    ZtScanConvert converter(w.x0, w.y0, w.x1, w.y1);
    converter.setSpanCB(countSpan, &pixels);
    converter.render(static_cast<int>(points.size()), points.data());
    return pixels;
}

/// How often the centre of a pixel is in a span: those between crossings 0 and 1, 2 and 3 and so
/// on, ends included. -1 where a crossing comes closer than `tolerance` without being there.
int timesInside(const std::vector<Point>& polygon, int x, int y, double tolerance) {
    const long long cx = x * kUnits + kUnits / 2, cy = y * kUnits + kUnits / 2;
    int before = 0, here = 0;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        Point p = polygon[i], q = polygon[(i + 1) % polygon.size()];
        if (p.y > q.y)
            std::swap(p, q);
        if (cy < p.y || cy >= q.y)
            continue;
        // The sign of the crossing minus cx, times the height of the edge.
        const long long side = (p.x - cx) * (q.y - p.y) + (q.x - p.x) * (cy - p.y);
        before += side < 0;
        here += side == 0;
        if (tolerance > 0 && std::abs(static_cast<double>(side) / static_cast<double>(q.y - p.y)) <
                                 tolerance * kUnits)
            return -1;
    }
    return before % 2 == 1 ? 1 + here / 2 : (here + 1) / 2;
}

void expectExact(const std::vector<Point>& polygon, const Window& w, double tolerance = 0) {
    std::vector<ZtVec2f> points;
    for (const Point& p : polygon)
        points.emplace_back(static_cast<float>(p.x) / kUnits, static_cast<float>(p.y) / kUnits);
    Pixels pixels = render(points, w);
    for (int y = w.y0; y <= w.y1; ++y)
        for (int x = w.x0; x <= w.x1; ++x) {
            const int expected = timesInside(polygon, x, y, tolerance);
            const auto at = pixels.extract({y, x});
            const int times = at.empty() ? 0 : at.mapped();
            ASSERT_TRUE(expected < 0 || expected == times) << x << ", " << y << ": " << times;
        }
    ASSERT_TRUE(pixels.empty()) << "pixels beyond the window";
}

/// Vertices on centres and rows, flat and vertical edges, crossings; all slopes exact in floats.
std::vector<Point> dyadicPolygon(std::mt19937& engine) {
    const auto below = [&](int n) { return static_cast<int>(engine() % static_cast<unsigned>(n)); };
    std::vector<int> heights;
    for (int i = 1 + below(6); i > 0; --i) {
        const int height = below(7) == 0 ? 0 : 1 << below(6);
        heights.insert(heights.end(), {height, -height});
    }
    std::shuffle(heights.begin(), heights.end(), engine);
    std::vector<Point> polygon;
    long long y = below(120) - 30;
    for (const int height : heights) {
        polygon.push_back({below(160) - 30, y});
        if (below(4) == 0 && polygon.size() > 1)
            polygon.back().x = polygon[polygon.size() - 2].x;
        y += height;
    }
    return polygon;
}

TEST(ZtScanConvert, IsExactWhereSlopesAre) {
    std::mt19937 engine(1);
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        ASSERT_NO_FATAL_FAILURE(expectExact(dyadicPolygon(engine), {2, 1, 28, 25}));
    }
}

TEST(ZtScanConvert, FillsAnyPolygonByTheEvenOddRule) {
    std::mt19937 engine(2);
    for (int round = 0; round < 600; ++round) {
        SCOPED_TRACE(round);
        const int extent = round % 3 == 0 ? 40000 : 200;  // far outside the window, or about it
        std::vector<Point> polygon(2 + engine() % (round % 10 == 0 ? 200 : 9));
        for (Point& p : polygon)
            p = {static_cast<int>(engine() % static_cast<unsigned>(extent)) - extent / 3,
                 static_cast<int>(engine() % static_cast<unsigned>(extent)) - extent / 3};
        ASSERT_NO_FATAL_FAILURE(expectExact(polygon, {-3, 0, 40, 37}, extent * 1e-5));
    }
}

TEST(ZtScanConvert, TakesAnyInput) {
    const float big = std::numeric_limits<float>::max(),
                inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const Window window = {0, 0, 3, 3};
    const auto count = [](const Pixels& pixels) { return pixels.size(); };
    EXPECT_EQ(16u, count(render({{0, 0}, {4, 0}, {4, 4}, {0, 4}}, window)));
    EXPECT_EQ(16u, count(render({{-big, -big}, {big, -big}, {big, big}, {-big, big}}, window)));
    EXPECT_EQ(4u, count(render({{0.5f, -1}, {0.5f, 9}}, window)));
    for (const float bad : {inf, -inf, nan}) {
        EXPECT_EQ(0u, count(render({{0, 0}, {4, bad}, {4, 4}}, window)));
        EXPECT_EQ(0u, count(render({{bad, 0}, {4, 0}, {4, 4}}, window)));
    }
    EXPECT_EQ(0u, count(render({{0, 0}, {4, 0}, {4, 4}}, {3, 3, 2, 2})));
    EXPECT_EQ(0u, count(render({{1, 1}}, window)));
    ZtScanConvert(0, 0, 3, 3).render(-1, nullptr);
    const int last = std::numeric_limits<int>::max();
    const float end = 2147483648.0f;
    EXPECT_EQ(2u, count(render({{end - 256, 0}, {end, 0}, {end, end}, {end - 256, end}},
                               {last, last - 1, last, last})));
}

struct Nesting {
    std::unique_ptr<ZtScanConvert> converter;
    Pixels outer, inner;
};

TEST(ZtScanConvert, CallbacksMayDoAnything) {
    const ZtVec2f square[] = {{0, 0}, {4, 0}, {4, 4}, {0, 4}};
    Nesting nesting;
    const auto countPixel = [](void* data, int x, int y) {
        ++static_cast<Nesting*>(data)->inner[{y, x}];
    };
    const auto renderInside = [](void* data, int xl, int xr, int y) {
        auto& n = *static_cast<Nesting*>(data);
        countSpan(&n.outer, xl, xr, y);
        const ZtVec2f triangle[] = {{0, 0}, {2, 0}, {0, 2}};
        ZtScanConvert inside(0, 0, 9, 9);
        inside.setPixelCB(
            [](void* p, int x, int row) {
                ++static_cast<Nesting*>(p)->inner[{row, x}];
            },
            &n);
        inside.render(3, triangle);
    };
    ZtScanConvert outside(0, 0, 9, 9);
    outside.setSpanCB(renderInside, &nesting);
    outside.render(4, square);
    EXPECT_EQ(16u, nesting.outer.size());
    EXPECT_EQ(3u, nesting.inner.size());
    EXPECT_EQ(4, (nesting.inner[{0, 0}]));

    // Nobody is rendering any more.
    ZtScanConvert::defaultSpanCB(&nesting, 0, 3, 0);
    outside.setSpanCB(nullptr, nullptr);
    outside.render(4, square);

    nesting = {};
    nesting.converter = std::make_unique<ZtScanConvert>(0, 0, 9, 9);
    nesting.converter->setSpanCB(
        [](void* data, int xl, int xr, int y) {
            auto& n = *static_cast<Nesting*>(data);
            countSpan(&n.outer, xl, xr, y);
            n.converter = nullptr;
        },
        &nesting);
    nesting.converter->render(4, square);
    EXPECT_EQ(4u, nesting.outer.size());

    ZtScanConvert throwing(0, 0, 9, 9);
    throwing.setSpanCB([](void*, int, int, int) { throw 1; }, nullptr);
    EXPECT_THROW(throwing.render(4, square), int);
    ZtScanConvert copy(outside);
    copy.setSpanCB(&ZtScanConvert::defaultSpanCB, nullptr);
    copy.setPixelCB(countPixel, &nesting);
    copy.render(4, square);
    EXPECT_EQ(16u, nesting.inner.size());
}

}  // namespace
