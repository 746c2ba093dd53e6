#include "Picture.h"

#include "Canvas.h"
#include "SliceView.h"

#include <ztlib/ZtDArray.h>
#include <ztlib/ZtString.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <vector>

namespace ztlabel {

namespace {

constexpr Colour kBackground = {0.055f, 0.060f, 0.072f};
constexpr Colour kTitle = {0.95f, 0.96f, 0.98f};
constexpr Colour kText = {0.66f, 0.69f, 0.74f};
constexpr Colour kGridLine = {0.20f, 0.22f, 0.26f};
constexpr Colour kZeroPiece = {0.13f, 0.14f, 0.17f};

constexpr int kMargin = 36;
constexpr int kLetterSpace = 26;  // beside a slice, for the letter of its side
constexpr int kGap = 44;          // between columns
constexpr int kContentWidth = 1160;
constexpr int kMostSliceHeight = 440;
constexpr double kTitleSize = 17;
constexpr double kTextSize = 11;
constexpr int kChartRows = 8;
constexpr int kChartColumns = 2;
constexpr int kChartRowHeight = 24;

/// The background of a label field is a piece like others, but it is not what one looks for.
bool isZeroPiece(const Findings& f, int label) {
    return f.options.labelField && f.labelling.components[label - 1].source == 0;
}

Colour colourOf(const Findings& f, int label) {
    return isZeroPiece(f, label) ? kZeroPiece : distinctColour(label - 1);
}

/// From the second to the last but second permille of the shown values.
GreyWindow windowFor(const std::vector<SliceView>& views) {
    std::vector<double> values;
    for (const SliceView& view : views)
        for (int v = 0; v < view.rows(); ++v)
            for (int u = 0; u < view.columns(); ++u)
                values.push_back(view.valueAt(u, v));
    const auto quantile = [&](double share) {
        const auto place = values.begin() + static_cast<std::ptrdiff_t>(
                                                share * static_cast<double>(values.size() - 1));
        std::nth_element(values.begin(), place, values.end());
        return *place;
    };
    const GreyWindow window{quantile(0.002), quantile(0.998)};
    return window.white > window.black ? window : GreyWindow{window.black, window.black + 1};
}

std::string grouped(long long number) {
    std::string text = std::to_string(number);
    for (std::size_t i = text.size(); i > 3; i -= 3)
        text.insert(i - 3, ",");
    return text;
}

std::string shortened(std::string text, double size, double width) {
    if (Canvas::textWidth(text, size) <= width)
        return text;
    while (!text.empty() && Canvas::textWidth(text + "...", size) > width)
        text.pop_back();
    return text + "...";
}

std::string subtitleOf(const Findings& f) {
    const Labelling& l = f.labelling;
    ZtString text;
    text.printf("%s %s, ", grouped(l.components.size()).c_str(),
                f.options.labelField ? "pieces" : "components");
    ZtString rest;
    if (f.options.labelField)
        rest.printf("connectivity %d", f.options.connectivityFor(f.volume.is2D()));
    else
        rest.printf("connectivity %d, threshold %g%s, %s voxels",
                    f.options.connectivityFor(f.volume.is2D()), l.threshold,
                    f.options.otsu ? " (Otsu)" : "", grouped(l.foreground).c_str());
    text += rest.getString();
    if (l.found != l.components.size()) {
        rest.printf(" (%s left out)", grouped(l.found - l.components.size()).c_str());
        text += rest.getString();
    }
    return text.getString();
}

std::string captionOf(const Findings& f, const SliceView& view) {
    static constexpr char kAxes[] = "xyz";
    const int normal = view.axis(2);
    std::string plane;
    if (f.geometry.isOriented()) {
        const char side = f.geometry.sideOf(normal, true);
        plane = side == 'L' || side == 'R'   ? "sagittal, "
                : side == 'A' || side == 'P' ? "coronal, "
                                             : "axial, ";
    }
    return plane + kAxes[normal] + " = " + std::to_string(view.index());
}

void drawLetters(Canvas& canvas, const Findings& f, const SliceView& view, int x, int y, int width,
                 int height) {
    if (!f.geometry.isOriented())
        return;
    const auto letter = [&](int which, bool rising, double cx, double cy) {
        const std::string text(1, f.geometry.sideOf(view.axis(which), rising));
        canvas.text(cx - Canvas::textWidth(text, kTextSize) / 2, cy - kTextSize / 2, text,
                    kTextSize, kText);
    };
    letter(0, false, x - 13, y + height / 2.0);
    letter(0, true, x + width + 13, y + height / 2.0);
    letter(1, true, x + width / 2.0, y - 13);
    letter(1, false, x + width / 2.0, y + height + 13);
}

/// Sizes as bars: in proportion, or by order of magnitude where proportion would hide the small
/// ones.
class Chart {
public:
    explicit Chart(const Findings& findings) : f_(findings) {
        const ZtDArray<Component>& all = f_.labelling.components;
        for (int i = 0; i < all.size(); ++i)
            if (!isZeroPiece(f_, i + 1))
                shown_.push_back(&all[i]);
        std::stable_sort(shown_.begin(), shown_.end(), [](const Component* a, const Component* b) {
            return a->voxels > b->voxels;
        });
        if (shown_.size() > kChartRows * kChartColumns)
            shown_.resize(kChartRows * kChartColumns);
        if (!shown_.empty()) {
            most_ = static_cast<double>(shown_.front()->voxels);
            logarithmic_ = most_ > 50 * static_cast<double>(shown_.back()->voxels);
        }
    }

    int rows() const { return std::min(static_cast<int>(shown_.size()), kChartRows); }
    int height() const { return shown_.empty() ? 0 : 40 + rows() * kChartRowHeight; }

    void draw(Canvas& canvas, double x, double y, double width) const {
        if (shown_.empty())
            return;
        std::string title = "sizes of the largest, in voxels";
        if (logarithmic_)
            title += " (logarithmic)";
        canvas.text(x, y, title, kTextSize, kText);
        const double columnWidth = (width - kGap) / kChartColumns;
        for (std::size_t i = 0; i < shown_.size(); ++i) {
            const std::size_t columnsBefore = i / kChartRows;
            const auto column = static_cast<double>(columnsBefore);
            drawBar(canvas, *shown_[i], x + column * (columnWidth + kGap),
                    y + 32 + static_cast<double>(i % kChartRows * kChartRowHeight), columnWidth);
        }
    }

private:
    void drawBar(Canvas& canvas, const Component& c, double x, double y, double width) const {
        constexpr double kNumberWidth = 52;
        constexpr double kBarHeight = 13;
        const double nameWidth = f_.names.isEmpty() ? 0 : 190;
        const double barWidth = width - kNumberWidth - nameWidth - 80;
        const std::string number = std::to_string(c.label);
        const double textY = y + (kBarHeight - kTextSize) / 2;
        canvas.text(x + kNumberWidth - 10 - Canvas::textWidth(number, kTextSize), textY, number,
                    kTextSize, kTitle);
        if (nameWidth > 0) {
            const ZtString name = f_.names.of(c.source);
            const std::string text = name.isEmptyString() ? "(no name)" : name.getString();
            canvas.text(x + kNumberWidth, textY, shortened(text, kTextSize, nameWidth - 14),
                        kTextSize, kText);
        }
        const double left = x + kNumberWidth + nameWidth;
        canvas.fill(left, y, left + barWidth, y + kBarHeight, kGridLine, 0.35f);
        const double length = std::max(2.0, barWidth * shareOfBar(static_cast<double>(c.voxels)));
        canvas.fill(left, y, left + length, y + kBarHeight, colourOf(f_, c.label));
        canvas.text(left + barWidth + 10, textY, grouped(c.voxels), kTextSize, kText);
    }

    double shareOfBar(double voxels) const {
        return logarithmic_ ? std::log(voxels + 1) / std::log(most_ + 1) : voxels / most_;
    }

    const Findings& f_;
    std::vector<const Component*> shown_;
    double most_ = 1;
    bool logarithmic_ = false;
};

}  // namespace

std::string pictureOf(const Findings& f) {
    std::vector<SliceView> views;
    views.emplace_back(f, 2);
    if (!f.volume.is2D()) {
        views.emplace_back(f, 1);
        views.emplace_back(f, 0);
    }
    double totalWidth = 0;
    double mostHeight = 0;
    for (const SliceView& view : views) {
        totalWidth += view.width();
        mostHeight = std::max(mostHeight, view.height());
    }
    const auto count = static_cast<double>(views.size());
    const double scale = std::min((kContentWidth - 2 * kLetterSpace * count) / totalWidth,
                                  kMostSliceHeight / mostHeight);

    const Chart chart(f);
    const int slicesTop = kMargin + 80;
    const int slicesHeight = static_cast<int>(std::lround(mostHeight * scale));
    const int captionsTop = slicesTop + slicesHeight + 30;
    const int chartTop = captionsTop + 46;
    const int height = chartTop + chart.height() + kMargin - (chart.rows() > 0 ? 11 : 46);
    Canvas canvas(kContentWidth + 2 * kMargin, height, kBackground);

    const std::string title = std::filesystem::path(f.options.input).filename().string();
    canvas.text(kMargin, kMargin, shortened(title, kTitleSize, kContentWidth), kTitleSize, kTitle);
    canvas.text(kMargin, kMargin + 32, shortened(subtitleOf(f), kTextSize, kContentWidth),
                kTextSize, kText);

    const GreyWindow window = windowFor(views);
    // Each slice stands in the middle of its part of the width.
    const double space = (kContentWidth - totalWidth * scale) / (2 * count);
    double left = kMargin + space;
    for (const SliceView& view : views) {
        const int x = static_cast<int>(std::lround(left));
        const int width = static_cast<int>(std::lround(view.width() * scale));
        const int viewHeight = static_cast<int>(std::lround(view.height() * scale));
        const int y = slicesTop + (slicesHeight - viewHeight) / 2;
        view.draw(canvas, x, y, scale, window, [&](int label) { return colourOf(f, label); });
        view.number(canvas, x, y, scale, [&](int label) { return !isZeroPiece(f, label); });
        drawLetters(canvas, f, view, x, y, width, viewHeight);
        const std::string caption = captionOf(f, view);
        canvas.text(x + (width - Canvas::textWidth(caption, kTextSize)) / 2, captionsTop, caption,
                    kTextSize, kText);
        left += view.width() * scale + 2 * space;
    }
    chart.draw(canvas, kMargin, chartTop, kContentWidth);
    return canvas.png();
}

}  // namespace ztlabel
