#include "overlay/Pixels.h"

#include <cmath>

namespace companion {
namespace {

double unit(double value) {
    return value > 0 ? std::fmin(value, 1) : 0; // NaN gives 0 as well.
}

Pixel channel(double value, double alpha) {
    return static_cast<Pixel>(std::lround(unit(value) * alpha));
}

} // namespace

Pixel pixelOf(const std::optional<Color> &color, double alpha) {
    if (!color)
        return 0;
    const auto a = static_cast<double>(std::lround(unit(alpha) * 255));
    return static_cast<Pixel>(a) << 24 | channel(color->red, a) << 16 | channel(color->green, a) << 8 |
           channel(color->blue, a);
}

void fillOver(const PixelPatch &patch, const QRect &area, Pixel pixel) {
    const QRect inside = area & patch.area;
    for (int y = inside.top(); y <= inside.bottom(); ++y)
        fillOver(patch, rowOf(patch, y), inside.left(), inside.right() + 1, pixel);
}

} // namespace companion
