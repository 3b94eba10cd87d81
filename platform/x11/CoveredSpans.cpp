#include "platform/x11/CoveredSpans.h"

namespace companion {

void addCovered(const PixelPatch &patch, std::vector<xcb_rectangle_t> &spans) {
    for (int y = 0; y < patch.area.height(); ++y) {
        const Pixel *row = patch.pixels + std::ptrdiff_t{y} * patch.stride;
        for (int x = 0; x < patch.area.width(); ++x) {
            const int start = x;
            while (x < patch.area.width() && row[x] >> 24 != 0)
                ++x;
            if (x > start)
                spans.push_back({static_cast<std::int16_t>(patch.area.x() + start),
                                 static_cast<std::int16_t>(patch.area.y() + y),
                                 static_cast<std::uint16_t>(x - start), 1});
        }
    }
}

} // namespace companion
