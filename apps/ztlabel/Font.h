// A tiny built-in font: printable ASCII, capitals on a grid of 5 x 7 points.
#pragma once

#include <vector>

namespace ztlabel {

inline constexpr int kGlyphHeight = 7;  // of capitals
inline constexpr int kGlyphRows = 9;    // with the tails of letters below the line

/// Columns that the character takes, without the gap behind it.
int glyphWidth(char c);

struct Stroke {
    double x0, y0, x1, y1;
};

/// The character as pen strokes between the points of its grid, so that it is smooth at every size:
/// points that touch are joined, single points are strokes of no length.
std::vector<Stroke> glyphStrokes(char c);

}  // namespace ztlabel
