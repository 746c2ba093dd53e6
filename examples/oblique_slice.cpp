// Cuts a volume obliquely and writes the slice as a picture, as a renderer would: the plane's
// polygon with a texture coordinate, which is a place among the voxels, at each of its vertices.
//
// Usage: oblique_slice VOLUME PICTURE.png
#include <ztlib/ZtCutBoxPlane.h>
#include <ztlib/ZtRotation.h>
#include <ztlib/ZtVec2f.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <fstream>
#include <string>

#include "ztlabel/Canvas.h"
#include "ztlabel/Failure.h"
#include "ztlabel/TerminalProgress.h"
#include "ztlabel/Volume.h"

namespace {

using ztlabel::Canvas;
using ztlabel::Volume;

constexpr float kPixelsPerMillimetre = 2.5f;
constexpr double kWhite = 0.7;  // the share of the largest value that is shown as white
constexpr int kMargin = 24;
constexpr ztlabel::Colour kBackground = {0.05f, 0.06f, 0.08f};
constexpr ztlabel::Colour kOutline = {0.95f, 0.65f, 0.25f};
constexpr ztlabel::Colour kTitle = {0.85f, 0.87f, 0.90f};

// The polygon: its vertices on the picture, in pixels, and their places among the voxels.
struct Polygon {
    int count = 0;
    ZtVec2f pixels[6];
    ZtVec3f voxels[6];
};

// Cuts the volume's box, in millimetres and in voxels, through its centre.
Polygon cut(const Volume& volume, const ZtVec3f& normal) {
    const nifti_image& header = volume.header();
    const float spacing[3] = {static_cast<float>(header.dx), static_cast<float>(header.dy),
                              static_cast<float>(header.dz)};
    float millimetres[6];
    float voxels[6];
    for (int axis = 0; axis < 3; ++axis) {
        // Voxel 0 reaches from -0.5 to 0.5.
        voxels[2 * axis] = -0.5f;
        voxels[2 * axis + 1] = static_cast<float>(volume.dim(axis)) - 0.5f;
        millimetres[2 * axis] = 0;
        millimetres[2 * axis + 1] = static_cast<float>(volume.dim(axis)) * spacing[axis];
    }
    const ZtVec3f centre = ZtVec3f(millimetres[1], millimetres[3], millimetres[5]) / 2.0f;

    Polygon polygon;
    ZtVec3f vertices[6];
    polygon.count =
        ZtCutBoxPlane(millimetres, voxels, normal).cutPlane(centre, vertices, polygon.voxels);
    // Towards the viewer the normal, up on the picture the volume's z axis. Pixels count downwards.
    ZtVec3f up = ZtVec3f(0, 0, 1) - normal * normal.z;
    up.normalize();
    const ZtRotation view(normal, up, ZtVec3f(0, 0, 1), ZtVec3f(0, 1, 0));
    for (int i = 0; i < polygon.count; ++i) {
        ZtVec3f flat;
        view.multVec(vertices[i] - centre, flat);
        polygon.pixels[i] = ZtVec2f(flat.x, -flat.y) * kPixelsPerMillimetre;
    }
    return polygon;
}

// The volume between voxel centres, linear in each direction; beyond the outermost centres theirs.
double valueAt(const Volume& volume, const ZtVec3f& place) {
    std::size_t first[2][3];
    double share[2][3];
    for (int axis = 0; axis < 3; ++axis) {
        const double last = volume.dim(axis) - 1;
        const double x = std::clamp(static_cast<double>(place[axis]), 0.0, last);
        const double low = std::min(std::floor(x), std::max(last - 1, 0.0));
        first[0][axis] = static_cast<std::size_t>(low);
        first[1][axis] = static_cast<std::size_t>(std::min(low + 1, last));
        share[1][axis] = x - low;
        share[0][axis] = 1 - share[1][axis];
    }
    const auto nx = static_cast<std::size_t>(volume.dim(0));
    const auto ny = static_cast<std::size_t>(volume.dim(1));
    return volume.visit([&](const auto* voxels) {
        double sum = 0;
        for (int k = 0; k < 8; ++k) {
            const int i = k & 1, j = k >> 1 & 1, l = k >> 2;
            sum += share[i][0] * share[j][1] * share[l][2] *
                   volume.scaled(voxels[(first[l][2] * ny + first[j][1]) * nx + first[i][0]]);
        }
        return sum;
    });
}

double largestValue(const Volume& volume) {
    return volume.visit([&](const auto* voxels) {
        const auto count = static_cast<std::size_t>(volume.header().nvox);
        return volume.scaled(*std::max_element(voxels, voxels + count));
    });
}

// Calls f(x, y, voxel) for the pixels of a triangle, the voxel's place interpolated between those
// of the corners. Pixels on an edge belong to both sides.
template <class F>
void forEachPixel(const ZtVec2f (&corners)[3], const ZtVec3f (&voxels)[3], F f) {
    const float area = (corners[1] - corners[0]).cross(corners[2] - corners[0]);
    if (area == 0)
        return;
    const auto [x0, x1] = std::minmax({corners[0].x, corners[1].x, corners[2].x});
    const auto [y0, y1] = std::minmax({corners[0].y, corners[1].y, corners[2].y});
    for (int y = static_cast<int>(std::floor(y0)); static_cast<float>(y) <= y1; ++y) {
        for (int x = static_cast<int>(std::floor(x0)); static_cast<float>(x) <= x1; ++x) {
            const ZtVec2f pixel(static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f);
            float weights[3];
            for (int i = 0; i < 3; ++i) {
                const ZtVec2f& a = corners[(i + 1) % 3];
                weights[i] = (corners[(i + 2) % 3] - a).cross(pixel - a) / area;
            }
            if (weights[0] >= 0 && weights[1] >= 0 && weights[2] >= 0)
                f(x, y, voxels[0] * weights[0] + voxels[1] * weights[1] + voxels[2] * weights[2]);
        }
    }
}

void drawOutline(Canvas& canvas, const Polygon& polygon, const ZtVec2f& origin) {
    for (int i = 0; i < polygon.count; ++i) {
        const ZtVec2f from = polygon.pixels[i] + origin;
        const ZtVec2f along = polygon.pixels[(i + 1) % polygon.count] + origin - from;
        const int steps = static_cast<int>(along.length() * 2) + 1;
        for (int step = 0; step < steps; ++step) {
            const ZtVec2f p = from + along * (static_cast<float>(step) / static_cast<float>(steps));
            const double x = static_cast<double>(p.x), y = static_cast<double>(p.y);
            canvas.fill(x - 0.8, y - 0.8, x + 0.8, y + 0.8, kOutline, 0.7f);
        }
    }
}

void drawSlice(const Volume& volume, const std::string& picture) {
    ZtVec3f normal(0.5f, -0.6f, 0.7f);
    normal.normalize();
    const Polygon polygon = cut(volume, normal);
    ZtVec2f low = polygon.pixels[0];
    ZtVec2f high = low;
    for (int i = 1; i < polygon.count; ++i) {
        const ZtVec2f& p = polygon.pixels[i];
        low = ZtVec2f(std::min(low.x, p.x), std::min(low.y, p.y));
        high = ZtVec2f(std::max(high.x, p.x), std::max(high.y, p.y));
    }
    const ZtVec2f margin(kMargin, kMargin);
    const ZtVec2f origin = margin - low;
    const ZtVec2f size = high - low + 2.0f * margin;
    Canvas canvas(static_cast<int>(size.x), static_cast<int>(size.y), kBackground);

    const double white = kWhite * largestValue(volume);
    double sum = 0;
    long count = 0;
    // A fan of triangles from the first vertex, as graphics hardware draws polygons.
    for (int i = 1; i + 1 < polygon.count; ++i) {
        const ZtVec2f corners[3] = {polygon.pixels[0] + origin, polygon.pixels[i] + origin,
                                    polygon.pixels[i + 1] + origin};
        const ZtVec3f voxels[3] = {polygon.voxels[0], polygon.voxels[i], polygon.voxels[i + 1]};
        forEachPixel(corners, voxels, [&](int x, int y, const ZtVec3f& voxel) {
            const double value = valueAt(volume, voxel);
            const auto grey = static_cast<float>(std::clamp(value / white, 0.0, 1.0));
            canvas.blend(x, y, {grey, grey, grey}, 1);
            sum += value;
            ++count;
        });
    }
    drawOutline(canvas, polygon, origin);
    const std::string title = "normal 0.5, -0.6, 0.7, through the centre";
    canvas.text(kMargin, canvas.height() - kMargin / 2.0 - 4, title, 11, kTitle, true);

    const std::string png = canvas.png();
    std::ofstream file(picture, std::ios::binary);
    if (!file.write(png.data(), static_cast<std::streamsize>(png.size())).flush())
        throw ztlabel::Failure("cannot write '" + picture + "'");
    std::printf("%d vertices, mean value %.1f\n", polygon.count, sum / static_cast<double>(count));
    for (int i = 0; i < polygon.count; ++i)
        std::printf("voxel %.2f %.2f %.2f\n", static_cast<double>(polygon.voxels[i].x),
                    static_cast<double>(polygon.voxels[i].y),
                    static_cast<double>(polygon.voxels[i].z));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: oblique_slice VOLUME PICTURE.png\n");
        return 2;
    }
    try {
        ztlabel::TerminalProgress progress(false);
        drawSlice(Volume::read(ztlabel::readVolumeHeader(argv[1]), progress), argv[2]);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "oblique_slice: %s\n", error.what());
        return 1;
    }
}
