#pragma once

#include "core/Geometry.h"

#include <QRect>

#include <cstdint>
#include <functional>
#include <vector>

namespace companion {

// Premultiplied ARGB, 8 bits each, alpha in the highest byte.
using Pixel = std::uint32_t;

// A piece of the overlay to be painted by the program. `area` is in device pixels, origin at the overlay's
// top left; `pixels` starts at the area's top left corner, is all zero, and a row is `stride` pixels long.
struct PixelPatch {
    QRect area;
    Pixel *pixels;
    int stride;
    bool blank = true; // Still all zero: what is laid over it is copied.
};

// One display pass: what replaces what is on the overlay now. Everything in device pixels, origin top left.
struct SurfaceFrame {
    struct Fill {
        QRect area;
        Pixel pixel;
    };
    std::vector<Fill> fills;     // Uniform areas; disjoint from each other and from the patches.
    std::vector<QRect> patches;  // Areas whose content is painted pixel by pixel; disjoint.
    std::vector<QRect> occupied; // Where the whole overlay, changed or not, can show anything at all.

    // Names what the first patch shows. The same number with a patch of the same size promises the same
    // pixels, wherever the patch lies, so they need not be painted again. 0: no promise.
    std::uint64_t picture = 0;
};

// The overlay's real window: covers one screen, above everything, never focused, mouse passing through until
// told otherwise. Its content stays until replaced.
class OverlaySurface {
public:
    virtual ~OverlaySurface() = default;

    // Of the overlay's screen, in points; zero without one.
    virtual Size size() const = 0;

    // Where that screen lies on the desktop, in device pixels from the desktop's top left.
    virtual QRect area() const = 0;

    // Device pixels in one point.
    virtual double scale() const = 0;

    // Whether what lies below is seen live through painted pixels (a compositor runs). If not, it is a still
    // of the desktop, taken when the overlay comes up: it has to leave the screen for a new one.
    virtual bool translucent() const = 0;

    // Called on the main thread when the screen, its place, size or scale or the translucency changed or the
    // content was lost: everything must be painted again. One listener.
    virtual void onChanged(std::function<void()> listener) = 0;

    // 1002 and 1000: above all other windows; 1003 is kept for the settings window, above this one; any lower
    // level: out of sight, nothing painted and no mouse taken until a front level returns.
    virtual void setLevel(int level) = 0;

    // Takes every press, release, motion and scroll on its screen, or lets all of them through.
    virtual void setTakesMouse(bool takes) = 0;

    // Something is to be shown: on the screen that is asked for, and above whatever has come up since. The
    // order of the levels stays.
    virtual void raise() = 0;

    // Keeps the overlay below this window (level 1003) for as long as that is on the screen. The identifier
    // is the window system's own.
    virtual void stayBelow(std::uintptr_t nativeWindow) = 0;

    // `paint` is called during the call: for each patch, or for bands of it if it is large. Not for a picture
    // that the surface still has, nor while the overlay is out of sight or `occupied` is empty: then there is
    // nothing to paint.
    virtual void present(const SurfaceFrame &frame, const std::function<void(const PixelPatch &)> &paint) = 0;
};

} // namespace companion
