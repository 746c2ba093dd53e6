#include "Canvas.h"

#include "Failure.h"
#include "Font.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace ztlabel {

namespace {

float sRgbEncoded(double linear) {
    const double v = std::clamp(linear, 0.0, 1.0);
    return static_cast<float>(v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055);
}

Colour fromOkLab(double lightness, double a, double b) {
    const double l = std::pow(lightness + 0.3963377774 * a + 0.2158037573 * b, 3);
    const double m = std::pow(lightness - 0.1055613458 * a - 0.0638541728 * b, 3);
    const double s = std::pow(lightness - 0.0894841775 * a - 1.2914855480 * b, 3);
    return {sRgbEncoded(4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s),
            sRgbEncoded(-1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s),
            sRgbEncoded(-0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s)};
}

double distanceTo(const Stroke& stroke, double x, double y) {
    const double dx = stroke.x1 - stroke.x0;
    const double dy = stroke.y1 - stroke.y0;
    const double length2 = dx * dx + dy * dy;
    double t = 0;
    if (length2 > 0)
        t = std::clamp(((x - stroke.x0) * dx + (y - stroke.y0) * dy) / length2, 0.0, 1.0);
    return std::hypot(x - stroke.x0 - t * dx, y - stroke.y0 - t * dy);
}

constexpr double kLetterGap = 1.6;  // between characters, in steps of their grid

double stepFor(double size) {
    return size / (kGlyphHeight - 1);
}

}  // namespace

Colour mixed(Colour a, Colour b, float shareOfB) {
    const float shareOfA = 1 - shareOfB;
    return {a.r * shareOfA + b.r * shareOfB, a.g * shareOfA + b.g * shareOfB,
            a.b * shareOfA + b.b * shareOfB};
}

Colour distinctColour(int i) {
    constexpr double kFirstHue = 0.75;  // an orange
    const double kGoldenAngle = std::numbers::pi * (3 - std::sqrt(5.0));
    constexpr double kLightness[] = {0.74, 0.66, 0.82, 0.70};
    constexpr double kChroma[] = {0.16, 0.15, 0.12};
    const double hue = kFirstHue + i * kGoldenAngle;
    const double chroma = kChroma[i % 3];
    return fromOkLab(kLightness[i % 4], chroma * std::cos(hue), chroma * std::sin(hue));
}

Canvas::Canvas(int width, int height, Colour background)
    : width_(width),
      height_(height),
      pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), background) {}

void Canvas::blend(int x, int y, Colour colour, float opacity) {
    if (x < 0 || x >= width_ || y < 0 || y >= height_ || opacity <= 0)
        return;
    Colour& pixel = pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
                            static_cast<std::size_t>(x)];
    pixel = mixed(pixel, colour, std::min(opacity, 1.0f));
}

void Canvas::fill(double x0, double y0, double x1, double y1, Colour colour, float opacity) {
    const auto covered = [](double from, double to, int pixel) {
        return std::max(0.0, std::min(to, pixel + 1.0) - std::max(from, pixel + 0.0));
    };
    for (int y = static_cast<int>(std::floor(y0)); y < y1; ++y)
        for (int x = static_cast<int>(std::floor(x0)); x < x1; ++x)
            blend(x, y, colour,
                  opacity * static_cast<float>(covered(x0, x1, x) * covered(y0, y1, y)));
}

void Canvas::glyphs(double x, double y, const std::string& text, double size, double radius,
                    Colour colour, float opacity) {
    const double step = stepFor(size);
    for (const char c : text) {
        const std::vector<Stroke> strokes = glyphStrokes(c);
        const int width = glyphWidth(c);
        for (int py = static_cast<int>(y - 3 * radius); py < y + kGlyphRows * step + 3 * radius;
             ++py)
            for (int px = static_cast<int>(x - 3 * radius); px < x + width * step + 3 * radius;
                 ++px) {
                double nearest = 1e9;
                for (const Stroke& stroke : strokes)
                    nearest = std::min(
                        nearest, distanceTo(stroke, (px + 0.5 - x) / step, (py + 0.5 - y) / step));
                const double cover = std::clamp(radius + 0.5 - nearest * step, 0.0, 1.0);
                blend(px, py, colour, opacity * static_cast<float>(cover));
            }
        x += (width - 1 + kLetterGap) * step;
    }
}

void Canvas::text(double x, double y, const std::string& text, double size, Colour colour,
                  bool halo) {
    const double pen = 0.45 * stepFor(size) + 0.15;
    if (halo)
        glyphs(x, y, text, size, pen + 1.6, {0.04f, 0.04f, 0.05f}, 0.75f);
    glyphs(x, y, text, size, pen, colour, 1);
}

double Canvas::textWidth(const std::string& text, double size) {
    double steps = 0;
    for (const char c : text)
        steps += glyphWidth(c) - 1 + kLetterGap;
    return text.empty() ? 0 : (steps - kLetterGap) * stepFor(size);
}

std::string Canvas::png() const {
    std::vector<unsigned char> bytes;
    bytes.reserve(pixels_.size() * 3);
    for (const Colour& pixel : pixels_)
        for (const float channel : {pixel.r, pixel.g, pixel.b})
            // NOLINTNEXTLINE(bugprone-incorrect-roundings): never negative
            bytes.push_back(static_cast<unsigned char>(std::clamp(channel, 0.f, 1.f) * 255 + 0.5f));

    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width_);
    image.height = static_cast<png_uint_32>(height_);
    image.format = PNG_FORMAT_RGB;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::string file(size, '\0');
    if (!png_image_write_to_memory(&image, file.data(), &size, 0, bytes.data(), 0, nullptr))
        throw Failure(std::string("cannot make the picture: ") + image.message);
    file.resize(size);
    return file;
}

}  // namespace ztlabel
