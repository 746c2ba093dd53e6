#include "SliceView.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace ztlabel {

namespace {

constexpr int kSubsamples = 2;  // per pixel and direction
constexpr Colour kEmpty = {0.10f, 0.11f, 0.13f};

}  // namespace

SliceView::SliceView(const Findings& findings, int normal) : findings_(findings) {
    axes_[0] = normal == 0 ? 1 : 0;
    axes_[1] = normal == 2 ? 1 : 2;
    axes_[2] = normal;
    const Volume& volume = findings.volume;
    index_ = volume.dim(normal) / 2;
    columns_ = volume.dim(axes_[0]);
    rows_ = volume.dim(axes_[1]);
    extent_[0] = columns_ * findings.geometry.spacing(axes_[0]);
    extent_[1] = rows_ * findings.geometry.spacing(axes_[1]);
    strides_[0] = 1;
    strides_[1] = static_cast<std::size_t>(volume.dim(0));
    strides_[2] = strides_[1] * static_cast<std::size_t>(volume.dim(1));
}

std::size_t SliceView::offset(int u, int v) const {
    return static_cast<std::size_t>(u) * strides_[axes_[0]] +
           static_cast<std::size_t>(v) * strides_[axes_[1]] +
           static_cast<std::size_t>(index_) * strides_[axes_[2]];
}

double SliceView::valueAt(int u, int v) const {
    return findings_.volume.visit([&](const auto* voxels) {
        const double value = findings_.volume.scaled(voxels[offset(u, v)]);
        return std::isfinite(value) ? value : 0.0;
    });
}

int SliceView::labelAt(int u, int v) const {
    return findings_.labelling.labels.visit(
        [&](const auto* labels) { return static_cast<int>(labels[offset(u, v)]); });
}

double SliceView::interpolated(double u, double v) const {
    const double clampedU = std::clamp(u - 0.5, 0.0, columns_ - 1.0);
    const double clampedV = std::clamp(v - 0.5, 0.0, rows_ - 1.0);
    const int u0 = static_cast<int>(clampedU);
    const int v0 = static_cast<int>(clampedV);
    const int u1 = std::min(u0 + 1, columns_ - 1);
    const int v1 = std::min(v0 + 1, rows_ - 1);
    const double fu = clampedU - u0;
    const double fv = clampedV - v0;
    return (valueAt(u0, v0) * (1 - fu) + valueAt(u1, v0) * fu) * (1 - fv) +
           (valueAt(u0, v1) * (1 - fu) + valueAt(u1, v1) * fu) * fv;
}

void SliceView::draw(Canvas& canvas, int x, int y, double pixelsPerMm, GreyWindow window,
                     const std::function<Colour(int)>& colourOf) const {
    const int width = static_cast<int>(std::lround(extent_[0] * pixelsPerMm)) * kSubsamples;
    const int height = static_cast<int>(std::lround(extent_[1] * pixelsPerMm)) * kSubsamples;
    const auto voxelU = [&](int sx) { return (sx + 0.5) * columns_ / width; };
    const auto voxelV = [&](int sy) { return (height - sy - 0.5) * rows_ / height; };
    std::vector<int> labels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    const auto labelOf = [&](int sx, int sy) -> int& {
        return labels[static_cast<std::size_t>(sy) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(sx)];
    };
    for (int sy = 0; sy < height; ++sy)
        for (int sx = 0; sx < width; ++sx)
            labelOf(sx, sy) = labelAt(static_cast<int>(voxelU(sx)), static_cast<int>(voxelV(sy)));

    const bool isLabelField = findings_.options.labelField;
    const auto isOutline = [&](int sx, int sy) {
        const int label = labelOf(sx, sy);
        constexpr int kReach = kSubsamples;
        const int left = std::max(sx - kReach, 0);
        const int right = std::min(sx + kReach, width - 1);
        const int top = std::max(sy - kReach, 0);
        const int bottom = std::min(sy + kReach, height - 1);
        return labelOf(left, sy) != label || labelOf(right, sy) != label ||
               labelOf(sx, top) != label || labelOf(sx, bottom) != label;
    };
    for (int sy = 0; sy < height; ++sy)
        for (int sx = 0; sx < width; ++sx) {
            Colour colour = kEmpty;
            if (!isLabelField) {
                const double value = interpolated(voxelU(sx), voxelV(sy));
                const auto grey = static_cast<float>(
                    std::clamp((value - window.black) / (window.white - window.black), 0.0, 1.0));
                colour = {grey, grey, grey};
            }
            if (const int label = labelOf(sx, sy); label != 0) {
                const bool edge = isOutline(sx, sy);
                const Colour own = colourOf(label);
                if (isLabelField)
                    colour = edge ? mixed(own, {0, 0, 0}, 0.35f) : own;
                else
                    colour = mixed(colour, own, edge ? 0.9f : 0.45f);
            }
            // Blending the k-th subsample with 1/k gives their mean.
            const int k = sy % kSubsamples * kSubsamples + sx % kSubsamples + 1;
            canvas.blend(x + sx / kSubsamples, y + sy / kSubsamples, colour,
                         1 / static_cast<float>(k));
        }
}

void SliceView::number(Canvas& canvas, int x, int y, double pixelsPerMm,
                       const std::function<bool(int)>& isNumbered) const {
    // Distance of each voxel from the rim of its component, in voxels, by two passes over the slice
    // (city-block metric); the farthest one is where a number has the most room.
    std::vector<int> distance(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_));
    const auto at = [&](int u, int v) -> int& {
        return distance[static_cast<std::size_t>(v) * static_cast<std::size_t>(columns_) +
                        static_cast<std::size_t>(u)];
    };
    const auto from = [&](int u, int v, int label) {
        const bool inside = u >= 0 && u < columns_ && v >= 0 && v < rows_;
        return inside && labelAt(u, v) == label ? at(u, v) : 0;
    };
    struct Place {
        int depth = 0;
        int u = 0;
        int v = 0;
    };
    std::map<int, Place> places;
    for (int v = 0; v < rows_; ++v)
        for (int u = 0; u < columns_; ++u) {
            const int label = labelAt(u, v);
            at(u, v) = std::min(from(u - 1, v, label), from(u, v - 1, label)) + 1;
        }
    for (int v = rows_ - 1; v >= 0; --v)
        for (int u = columns_ - 1; u >= 0; --u) {
            const int label = labelAt(u, v);
            int& depth = at(u, v);
            depth = std::min({depth, from(u + 1, v, label) + 1, from(u, v + 1, label) + 1});
            if (label == 0 || !isNumbered(label))
                continue;
            if (Place& place = places[label]; depth > place.depth)
                place = {depth, u, v};
        }

    std::vector<std::pair<int, Place>> inOrder(places.begin(), places.end());
    std::stable_sort(inOrder.begin(), inOrder.end(),
                     [](const auto& a, const auto& b) { return a.second.depth > b.second.depth; });
    constexpr double kTextSize = 11;
    const double finer =
        std::min(findings_.geometry.spacing(axes_[0]), findings_.geometry.spacing(axes_[1]));
    std::vector<std::pair<double, double>> taken;
    for (const auto& [label, place] : inOrder) {
        const std::string text = std::to_string(label);
        const double textWidth = Canvas::textWidth(text, kTextSize);
        const double px = x + (place.u + 0.5) * extent_[0] / columns_ * pixelsPerMm;
        const double py = y + (rows_ - place.v - 0.5) * extent_[1] / rows_ * pixelsPerMm;
        const bool isFree = std::none_of(taken.begin(), taken.end(), [&](const auto& other) {
            return std::abs(other.first - px) < 28 && std::abs(other.second - py) < 15;
        });
        if (!isFree || place.depth * finer * pixelsPerMm < 0.6 * std::max(textWidth, kTextSize))
            continue;
        taken.emplace_back(px, py);
        canvas.text(px - textWidth / 2, py - kTextSize / 2, text, kTextSize, {1, 1, 1}, true);
    }
}

}  // namespace ztlabel
