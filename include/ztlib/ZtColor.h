// ZtColor: a colour of red, green and blue, and how it is written.
#pragma once

#include <ztlib/ZtExport.h>

/// Red, green and blue from 0 to 1. A plain value.
class ZTLIB_API ZtColor {
public:
    /// Black.
    constexpr ZtColor() = default;
    constexpr ZtColor(float red, float green, float blue) : rgb_{red, green, blue} {}

    /// Component 0 (red), 1 (green) or 2 (blue); expects one of these.
    constexpr float operator[](int i) const { return rgb_[i]; }
    constexpr const float* getValue() const { return rgb_; }

    /// Sets the three components.
    constexpr void setValue(float red, float green, float blue) { *this = {red, green, blue}; }

    /// Reads a colour: three numbers from 0 to 1; three integers from 0 to 255 of which one is
    /// above 1; `#rgb` or `#rrggbb` in hexadecimal digits; or the name of one of the sixteen
    /// colours of HTML 4.01, orange, or a second name of these (grey, cyan, magenta), in any case.
    /// White space around it and between the numbers does not matter. False, and nothing changes,
    /// when the text is none of these or null.
    bool setValue(const char* text);

    constexpr bool operator==(const ZtColor& other) const {
        return rgb_[0] == other.rgb_[0] && rgb_[1] == other.rgb_[1] && rgb_[2] == other.rgb_[2];
    }
    constexpr bool operator!=(const ZtColor& other) const { return !(*this == other); }

private:
    float rgb_[3] = {0, 0, 0};
};
