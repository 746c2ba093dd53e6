// One slice of a labelled volume, drawn.
#pragma once

#include "Canvas.h"
#include "Report.h"

#include <cstddef>
#include <functional>

namespace ztlabel {

/// Stored values that are shown as black and as white.
struct GreyWindow {
    double black = 0;
    double white = 1;
};

/// Draws the slice in the middle of the `normal` axis of a volume. Of the two other axes the lower
/// one runs to the right, the higher one upwards.
class SliceView {
public:
    SliceView(const Findings& findings, int normal);

    /// Extent in millimetres, to the right and up.
    double width() const { return extent_[0]; }
    double height() const { return extent_[1]; }
    int index() const { return index_; }
    /// The volume's axes that run to the right, upwards, and through the slice.
    int axis(int which) const { return axes_[which]; }

    /// Draws with the upper left corner at (x, y). `colourOf` gives a component's colour.
    void draw(Canvas& canvas, int x, int y, double pixelsPerMm, GreyWindow window,
              const std::function<Colour(int label)>& colourOf) const;
    /// Writes the numbers of components where they have room.
    void number(Canvas& canvas, int x, int y, double pixelsPerMm,
                const std::function<bool(int label)>& isNumbered) const;

    /// The scaled value and the label of a voxel of the slice.
    double valueAt(int u, int v) const;
    int labelAt(int u, int v) const;
    int columns() const { return columns_; }
    int rows() const { return rows_; }

private:
    std::size_t offset(int u, int v) const;
    double interpolated(double u, double v) const;

    const Findings& findings_;
    int axes_[3];
    int index_;
    int columns_;
    int rows_;
    double extent_[2];
    std::size_t strides_[3];
};

}  // namespace ztlabel
