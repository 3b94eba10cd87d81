#include "e2e/LensLook.h"

#include <cmath>

namespace companion::rig {

QImage noise(const QSize &size, std::uint32_t seed) {
    QImage image(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            std::uint32_t value = seed + static_cast<std::uint32_t>(x) * 2654435761U +
                                  static_cast<std::uint32_t>(y) * 2246822519U;
            value = (value ^ (value >> 13)) * 3266489917U;
            image.setPixel(x, y, 0xFF000000U | ((value ^ (value >> 16)) & 0xBFBFBFU));
        }
    }
    return image;
}

Look lensLook(QPoint pointer, int size, int zoom, const QImage &still, const QImage &behind, int ringWidth) {
    const Disc disc(pointer, size);
    const int z = zoom / 10;
    return [=](int x, int y, QRgb seen) {
        const double fromEdge = disc.radius() - disc.distance(x, y);
        if (fromEdge < -1.5)
            return sameColour(seen, behind.pixel(x, y), 0);
        if (std::abs(fromEdge - ringWidth / 2.0) < 0.25)
            return qRed(seen) > 0xE0 && qGreen(seen) > 0xE0 && qBlue(seen) > 0xE0;
        if (fromEdge < ringWidth + 1.5) // The smooth edges of the ring.
            return true;
        if (z == 0)
            return sameColour(seen, behind.pixel(x, y), 0);
        // In an odd lens a pixel's middle can fall on the border of two enlarged ones: either will do.
        const double fromMiddleX = (x + 0.5 - disc.box.x() - disc.radius()) / z;
        const double fromMiddleY = (y + 0.5 - disc.box.y() - disc.radius()) / z;
        for (const double nudgeX : {1e-6, -1e-6}) {
            for (const double nudgeY : {1e-6, -1e-6}) {
                const QPoint from(static_cast<int>(std::floor(pointer.x() + fromMiddleX + nudgeX)),
                                  static_cast<int>(std::floor(pointer.y() + fromMiddleY + nudgeY)));
                const QRgb wanted = still.rect().contains(from) ? still.pixel(from) : behind.pixel(x, y);
                if (sameColour(seen, wanted, 0))
                    return true;
            }
        }
        return false;
    };
}

Look pictureLook(const QImage &picture) {
    return [=](int x, int y, QRgb seen) { return sameColour(seen, picture.pixel(x, y), 0); };
}

} // namespace companion::rig
