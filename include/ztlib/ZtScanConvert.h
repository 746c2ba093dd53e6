// ZtScanConvert: fills polygons in a grid of pixels.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtVec2f.h>

/// Turns polygons, convex or not, into horizontal spans of pixels within a window, by the even-odd
/// rule. Pixel (x, y) covers the square from (x, y) to (x + 1, y + 1) and is sampled at its centre:
/// it is inside when the line through its centre crosses the boundary an odd number of times to the
/// left of it. A boundary that passes through the centre from top to bottom counts on either side;
/// where a vertex lies on the line, the edge that begins there in y counts and the one that ends
/// does not. So the square from (0.5, 0.5) to (4.5, 4.5) has the rows 0 to 3 and the columns 0
/// to 4. A centre through which several edges pass may be reported more than once.
///
/// The crossings are in single precision and go from row to row by addition, as in the active edge
/// list of the classic concave-polygon scan conversion (Graphics Gems, 1990): exact for coordinates
/// and slopes that are small multiples of powers of two, within a few units of the last place per
/// row else.
///
/// A converter copies as a value. It may be used by one thread at a time; several converters may
/// render at once in several threads, and a callback may start another rendering, change the
/// callbacks or destroy the converter, whose later spans then go nowhere.
class ZTLIB_API ZtScanConvert {
public:
    /// Clips to the pixels x0 to x1 and y0 to y1, all included. An empty window renders nothing.
    ZtScanConvert(int x0, int y0, int x1, int y1);
    ZtScanConvert(const ZtScanConvert& other);
    ZtScanConvert& operator=(const ZtScanConvert& other);
    ~ZtScanConvert();

    /// Sets what receives the spans (userData, xl, xr, y), all pixels from xl to xr of row y; null
    /// for nobody. Spans come row by row from the lowest y on and from left to right. There is one
    /// user data for both callbacks, that of the last call.
    void setSpanCB(void (*callback)(void* userData, int xl, int xr, int y), void* userData);
    /// Sets what `defaultSpanCB` hands each pixel (userData, x, y); null for nobody.
    void setPixelCB(void (*callback)(void* userData, int x, int y), void* userData);

    /// Renders the polygon of `n` vertices, the last of which joins the first. Nothing for null,
    /// fewer than two vertices or one with an infinite coordinate or NaN. O(n log n) and per row of
    /// the polygon in the window as much as edges cross it and spans lie in it. Throws
    /// `ZtMemoryException` before the first span.
    void render(int n, const ZtVec2f* points);

    /// The span callback of a new converter: hands the pixels of the span to the pixel callback of
    /// the converter that is rendering in this thread, with the given user data. Does nothing
    /// without one.
    static void defaultSpanCB(void* userData, int xl, int xr, int y);

protected:
    /// Hands a span to the span callback of the converter that is rendering in this thread.
    static void concaveCB(int y, int xl, int xr);

    /// The callbacks with their user data, and the window, all four bounds included.
    void* userData;
    void (*spanCB)(void*, int, int, int);
    void (*pixelCB)(void*, int, int);
    int x0;
    int y0;
    int x1;
    int y1;
};
