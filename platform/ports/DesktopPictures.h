#pragma once

#include <QImage>
#include <QRect>
#include <QSize>

#include <functional>
#include <string>

namespace companion {

// Still pictures from the desktop itself, for a backend whose display server gives none.
class DesktopPictures {
public:
    struct Place {
        std::string screen; // As the display server calls it.
        QRect area;         // Of that screen on the desktop, points.
        QRect desktop;      // All screens together, points.
        QSize pixels;       // That screen's device pixels.
    };
    using Done = std::function<void(const QImage &)>;

    virtual ~DesktopPictures() = default;

    // One picture pixel for one device pixel, without the cursor. Calls back on a later turn of the main
    // thread, exactly once; null means refused, failed or late.
    virtual void take(const Place &place, Done done) = 0;

    // Finds out now whether it is allowed, so that nobody is asked in a talk. A refusal is told in one log
    // line.
    virtual void probe(const Place &place) = 0;
};

} // namespace companion
