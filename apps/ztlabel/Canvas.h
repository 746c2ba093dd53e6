// A small drawing surface: rectangles, text, and the way into a PNG file.
#pragma once

#include <string>
#include <vector>

namespace ztlabel {

/// Red, green and blue from 0 to 1, encoded as in sRGB.
struct Colour {
    float r = 0;
    float g = 0;
    float b = 0;
};

Colour mixed(Colour a, Colour b, float shareOfB);

/// The i-th of an endless row of colours, neighbours of which differ clearly: hues a golden angle
/// apart at changing lightness in the OKLab colour space (B. Ottosson, 2020), where equal steps
/// look equal.
Colour distinctColour(int i);

/// Pixels with the origin at the upper left; coordinates may be fractions and lie outside.
class Canvas {
public:
    Canvas(int width, int height, Colour background);

    int width() const { return width_; }
    int height() const { return height_; }

    void blend(int x, int y, Colour colour, float opacity);
    void fill(double x0, double y0, double x1, double y1, Colour colour, float opacity = 1);

    /// Writes text with the upper left corner of its capitals at (x, y), `size` pixels high. Other
    /// characters than printable ASCII become question marks. A halo keeps it readable on images.
    void text(double x, double y, const std::string& text, double size, Colour colour,
              bool halo = false);
    static double textWidth(const std::string& text, double size);

    /// The picture as the bytes of a PNG file. Throws Failure.
    std::string png() const;

private:
    void glyphs(double x, double y, const std::string& text, double size, double radius,
                Colour colour, float opacity);

    int width_;
    int height_;
    std::vector<Colour> pixels_;
};

}  // namespace ztlabel
