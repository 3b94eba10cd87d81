#pragma once

namespace companion {

// sRGB components from 0 to 1, not premultiplied. Doubles, so that a saved colour comes back unchanged.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    Color withAlpha(double value) const { return {red, green, blue, value}; }
    bool operator==(const Color &) const = default;
};

} // namespace companion
