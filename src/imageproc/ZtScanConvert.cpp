// Scan conversion: the edges of a polygon, sorted by the row in which they begin, enter a list of
// those that cross the current row; the list is kept sorted by where they cross it.
#include <ztlib/ZtScanConvert.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>

#include "core/WorkArray.h"

namespace {

/// A rendering of this thread, and the one in whose callback it was started.
struct Rendering {
    ZtScanConvert* converter;  // null once it is destroyed
    Rendering* outer;
};

thread_local Rendering* innermost = nullptr;

/// Makes a converter the one that is rendering.
class Current {
public:
    explicit Current(ZtScanConvert* converter) : rendering_{converter, innermost} {
        innermost = &rendering_;
    }
    ~Current() { innermost = rendering_.outer; }
    Current(const Current&) = delete;
    Current& operator=(const Current&) = delete;

private:
    Rendering rendering_;
};

struct Window {
    int x0, y0, x1, y1;
};

/// An edge within the window's rows.
struct Edge {
    float x;   // where it crosses the centres of its first, later of the current row
    float dx;  // how much farther it crosses the next row
    int first, last;
};

/// Edges in a row are few as a rule.
constexpr int kFewEdges = 32;

/// The first row whose centre is at or above y, as a number that may be beyond all rows.
double rowFrom(float y) {
    return std::ceil(static_cast<double>(y) - 0.5);
}

float slopeOf(const ZtVec2f& lower, const ZtVec2f& upper) {
    const float dx = upper.x - lower.x, dy = upper.y - lower.y;
    float slope = dx / dy;
    if (!std::isfinite(dx) || !std::isfinite(dy))
        slope = static_cast<float>((static_cast<double>(upper.x) - lower.x) /
                                   (static_cast<double>(upper.y) - lower.y));
    return std::clamp(slope, -FLT_MAX, FLT_MAX);
}

/// The edges that cross rows of the window; returns how many.
int findEdges(int n, const ZtVec2f* points, const Window& window, Edge* edges) {
    int count = 0;
    for (int i = 0; i < n; ++i) {
        const ZtVec2f& a = points[i];
        const ZtVec2f& b = points[i + 1 < n ? i + 1 : 0];
        const ZtVec2f& lower = a.y <= b.y ? a : b;
        const ZtVec2f& upper = a.y <= b.y ? b : a;
        const double first = std::max<double>(rowFrom(lower.y), window.y0);
        const double last = std::min<double>(rowFrom(upper.y) - 1, window.y1);
        if (first > last)
            continue;
        const float dx = slopeOf(lower, upper);
        const double x = static_cast<double>(dx) * (first + 0.5 - lower.y) + lower.x;
        edges[count++] = {static_cast<float>(std::clamp<double>(x, -FLT_MAX, FLT_MAX)), dx,
                          static_cast<int>(first), static_cast<int>(last)};
    }
    return count;
}

void sortByX(Edge* edges, int count, int added) {
    const auto isLeft = [](const Edge& a, const Edge& b) { return a.x < b.x; };
    if (added > kFewEdges) {
        std::sort(edges, edges + count, isLeft);
        return;
    }
    for (int i = 1; i < count; ++i) {  // nearly sorted already
        const Edge edge = edges[i];
        int at = i;
        for (; at > 0 && isLeft(edge, edges[at - 1]); --at)
            edges[at] = edges[at - 1];
        edges[at] = edge;
    }
}

/// Reports the spans between the edges, which come in the order of their first rows. `active` has
/// room for all of them.
template <class Emit>
void scan(const Edge* edges, int count, Edge* active, const Window& window, const Emit& emit) {
    int next = 0, numActive = 0;
    for (long long y = count > 0 ? edges[0].first : 0; next < count || numActive > 0; ++y) {
        if (numActive == 0)
            y = edges[next].first;
        const int kept = static_cast<int>(
            std::remove_if(active, active + numActive, [y](const Edge& e) { return e.last < y; }) -
            active);
        numActive = kept;
        while (next < count && edges[next].first == y)
            active[numActive++] = edges[next++];
        sortByX(active, numActive, numActive - kept);
        for (int i = 0; i + 1 < numActive; i += 2) {
            const double from = std::max<double>(rowFrom(active[i].x), window.x0);
            const double to =
                std::min<double>(std::floor(static_cast<double>(active[i + 1].x) - 0.5), window.x1);
            active[i].x += active[i].dx;
            active[i + 1].x += active[i + 1].dx;
            if (from <= to)
                emit(static_cast<int>(y), static_cast<int>(from), static_cast<int>(to));
        }
    }
}

}  // namespace

ZtScanConvert::ZtScanConvert(int x0_, int y0_, int x1_, int y1_)
    : userData(nullptr),
      spanCB(&defaultSpanCB),
      pixelCB(nullptr),
      x0(x0_),
      y0(y0_),
      x1(x1_),
      y1(y1_) {}

ZtScanConvert::ZtScanConvert(const ZtScanConvert& other) = default;

ZtScanConvert& ZtScanConvert::operator=(const ZtScanConvert& other) = default;

ZtScanConvert::~ZtScanConvert() {
    for (Rendering* rendering = innermost; rendering; rendering = rendering->outer)
        if (rendering->converter == this)
            rendering->converter = nullptr;
}

void ZtScanConvert::setSpanCB(void (*callback)(void*, int, int, int), void* data) {
    spanCB = callback;
    userData = data;
}

void ZtScanConvert::setPixelCB(void (*callback)(void*, int, int), void* data) {
    pixelCB = callback;
    userData = data;
}

void ZtScanConvert::render(int n, const ZtVec2f* points) {
    if (n < 2 || !points)
        return;
    for (int i = 0; i < n; ++i)
        if (!std::isfinite(points[i].x) || !std::isfinite(points[i].y))
            return;
    Edge few[2 * kFewEdges];
    WorkArray<Edge> many;
    if (n > kFewEdges)
        many.allocate(2 * static_cast<std::uint64_t>(n));
    Edge* const edges = n > kFewEdges ? many.data() : few;
    // The converter may be gone before the end.
    const Window window = {x0, y0, x1, y1};
    const int count = findEdges(n, points, window, edges);
    std::sort(edges, edges + count, [](const Edge& a, const Edge& b) { return a.first < b.first; });
    const Current current(this);
    scan(edges, count, edges + n, window, concaveCB);
}

void ZtScanConvert::concaveCB(int y, int xl, int xr) {
    ZtScanConvert* const converter = innermost ? innermost->converter : nullptr;
    if (converter && converter->spanCB)
        converter->spanCB(converter->userData, xl, xr, y);
}

void ZtScanConvert::defaultSpanCB(void* userData, int xl, int xr, int y) {
    for (long long x = xl; x <= xr; ++x) {
        // Looked up each time: the callback may change it, or destroy the converter.
        ZtScanConvert* const converter = innermost ? innermost->converter : nullptr;
        if (!converter || !converter->pixelCB)
            return;
        converter->pixelCB(userData, static_cast<int>(x), y);
    }
}
