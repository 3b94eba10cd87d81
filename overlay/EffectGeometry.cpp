#include "overlay/EffectGeometry.h"

#include <algorithm>
#include <cmath>

namespace companion {
namespace {

// Limited first and converted then: stored sizes may be far beyond any integer pixel.
int limited(double value, int lowest, int highest) {
    return static_cast<int>(std::clamp(value, double(lowest), double(highest)));
}

} // namespace

double effectHalf(std::int64_t s) {
    return static_cast<double>(s / 2);
}

PointRect effectRect(Point cursor, std::int64_t s) {
    const double half = effectHalf(s);
    const auto side = static_cast<double>(s);
    return {cursor.x - half, cursor.y - half, side, side};
}

QRectF PixelSpace::toPixels(const PointRect &rect) const {
    return {rect.x * scale, (size.height - rect.y - rect.height) * scale, rect.width * scale,
            rect.height * scale};
}

QPointF PixelSpace::toPixels(Point point) const {
    return {point.x * scale, (size.height - point.y) * scale};
}

QRect PixelSpace::bounds() const {
    return {0, 0, static_cast<int>(std::lround(size.width * scale)),
            static_cast<int>(std::lround(size.height * scale))};
}

QRect PixelSpace::snapped(const PointRect &rect) const {
    const QRectF pixels = toPixels(rect);
    const QRect all = bounds();
    const int left = limited(std::round(pixels.left()), 0, all.width());
    const int top = limited(std::round(pixels.top()), 0, all.height());
    const int right = limited(std::round(pixels.right()), 0, all.width());
    const int bottom = limited(std::round(pixels.bottom()), 0, all.height());
    return {left, top, std::max(0, right - left), std::max(0, bottom - top)};
}

QRect PixelSpace::touched(const QRectF &pixels) const {
    if (!(pixels.width() > 0) || !(pixels.height() > 0))
        return {};
    const QRect all = bounds();
    const int left = limited(std::floor(pixels.left()), 0, all.width());
    const int top = limited(std::floor(pixels.top()), 0, all.height());
    const int right = limited(std::ceil(pixels.right()), 0, all.width());
    const int bottom = limited(std::ceil(pixels.bottom()), 0, all.height());
    return {left, top, right - left, bottom - top};
}

} // namespace companion
