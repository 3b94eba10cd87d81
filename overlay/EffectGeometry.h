#pragma once

#include "core/Geometry.h"

#include <QRect>
#include <QRectF>

#include <cstdint>

namespace companion {

// Square of side s around the cursor, overlay points. The half is an integer: with an odd s the disc reaches
// one point further right and up. The magnifier's centring depends on the same half.
PointRect effectRect(Point cursor, std::int64_t s);

// Half of the effect's diameter, truncated toward zero, in points.
double effectHalf(std::int64_t s);

// The one border between overlay points (origin lower left, y upwards) and device pixels (origin top left).
struct PixelSpace {
    Size size;        // Of the overlay, points.
    double scale = 1; // Device pixels per point.

    QRectF toPixels(const PointRect &rect) const;
    QPointF toPixels(Point point) const;

    // All of the overlay, device pixels.
    QRect bounds() const;

    // The whole pixels nearest to the rectangle's edges, limited to the overlay.
    QRect snapped(const PointRect &rect) const;

    // Every pixel that the rectangle touches, limited to the overlay. Empty for rectangles without area.
    QRect touched(const QRectF &pixels) const;
};

} // namespace companion
