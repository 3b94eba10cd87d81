#pragma once

#include "core/Color.h"
#include "platform/ports/OverlaySurface.h"

#include <algorithm>
#include <optional>

// Arithmetic on premultiplied pixels. Nothing here allocates.
namespace companion {

// The colour with its own alpha replaced, as a pixel. Null colours and alphas that are no number give nothing
// (0); components and alpha are limited to 0..1.
Pixel pixelOf(const std::optional<Color> &color, double alpha);

inline unsigned alphaOf(Pixel pixel) {
    return pixel >> 24;
}

// Every channel times factor / 255, rounded.
inline Pixel scaled(Pixel pixel, unsigned factor) {
    std::uint32_t even = (pixel & 0xff00ff) * factor;
    even = (even + ((even >> 8) & 0xff00ff) + 0x800080) >> 8;
    std::uint32_t odd = ((pixel >> 8) & 0xff00ff) * factor;
    odd = odd + ((odd >> 8) & 0xff00ff) + 0x800080;
    return (even & 0xff00ff) | (odd & 0xff00ff00);
}

// `above` laid over `below`.
inline Pixel over(Pixel above, Pixel below) {
    return below == 0 ? above : above + scaled(below, 255 - alphaOf(above));
}

// The pixel row of a patch at overlay row y, so that row[x] is overlay column x.
inline Pixel *rowOf(const PixelPatch &patch, int y) {
    return patch.pixels + static_cast<std::ptrdiff_t>(y - patch.area.top()) * patch.stride -
           patch.area.left();
}

// Lays the pixel over the columns from `from` to before `to` of a row of the patch.
inline void fillOver(const PixelPatch &patch, Pixel *row, int from, int to, Pixel pixel) {
    if (patch.blank) {
        std::fill(row + from, row + std::max(from, to), pixel);
        return;
    }
    for (int x = from; x < to; ++x)
        row[x] = over(pixel, row[x]);
}

// Lays the pixel over every pixel of the area inside the patch.
void fillOver(const PixelPatch &patch, const QRect &area, Pixel pixel);

} // namespace companion
