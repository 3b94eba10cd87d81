#include "platform/x11/OpaqueSpans.h"

#include <algorithm>

namespace companion {

namespace {

unsigned alphaOf(Pixel pixel) {
    return pixel >> 24;
}

Pixel opaque(Pixel pixel) {
    const unsigned alpha = alphaOf(pixel);
    if (alpha == 255)
        return pixel;
    const auto channel = [&](unsigned shift) {
        const unsigned value = (pixel >> shift) & 0xff;
        return std::min(255u, (value * 255 + alpha / 2) / alpha) << shift;
    };
    return 0xff000000u | channel(16) | channel(8) | channel(0);
}

} // namespace

void makeOpaque(const PixelPatch &patch, std::vector<xcb_rectangle_t> &spans) {
    const int width = patch.area.width();
    const int height = patch.area.height();
    const auto row = [&](int y) { return patch.pixels + std::ptrdiff_t{y} * patch.stride; };

    unsigned greatest = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            greatest = std::max(greatest, alphaOf(row(y)[x]));
    if (greatest == 0)
        return;
    const unsigned least = (greatest + 1) / 2;

    for (int y = 0; y < height; ++y) {
        Pixel *pixels = row(y);
        for (int x = 0; x < width;) {
            const int start = x;
            for (; x < width && alphaOf(pixels[x]) >= least; ++x)
                pixels[x] = opaque(pixels[x]);
            if (x > start)
                spans.push_back({static_cast<std::int16_t>(patch.area.x() + start),
                                 static_cast<std::int16_t>(patch.area.y() + y),
                                 static_cast<std::uint16_t>(x - start), 1});
            else
                ++x;
        }
    }
}

} // namespace companion
