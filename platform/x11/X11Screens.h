#pragma once

#include "core/Geometry.h"
#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "platform/x11/X11Connection.h"

#include <QRect>

#include <functional>

namespace companion {

// Where the main screen lies on the desktop, followed while it changes: the primary monitor, else the first
// one, else the whole desktop.
class X11Screens {
public:
    X11Screens(X11Connection &connection, MainQueue &queue, std::function<double()> scale);
    X11Screens(const X11Screens &) = delete;
    X11Screens &operator=(const X11Screens &) = delete;

    const QRect &mainScreen() const { return m_mainScreen; } // Device pixels from the desktop's top left.
    double scale() const { return m_scale; }                 // Device pixels in one point.
    Size size() const;                                       // Points.

    // The place on the overlay, lower-left origin, of a device pixel of the desktop.
    Point toOverlay(int x, int y) const;

    void onChanged(std::function<void()> listener) { m_changed = std::move(listener); }

    // Looks again on a later turn of the loop.
    void refreshSoon();

private:
    bool refresh();

    X11Connection &m_connection;
    MainQueue &m_queue;
    std::function<double()> m_askScale;
    std::function<void()> m_changed;
    QRect m_mainScreen;
    double m_scale = 1;
    bool m_refreshPosted = false;
    Lifetime m_lifetime;
};

} // namespace companion
