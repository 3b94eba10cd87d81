#pragma once

#include "core/Geometry.h"
#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "platform/ports/ScreenChoice.h"
#include "platform/x11/X11Connection.h"

#include <QPoint>
#include <QRect>

#include <functional>
#include <string>
#include <vector>

namespace companion {

struct X11Monitor {
    std::string name;
    QRect area; // Device pixels from the desktop's top left.
    bool primary = false;
};

// The server's monitors; one without a name that is the whole desktop where it lists none.
std::vector<X11Monitor> x11Monitors(const X11Connection::Link &link);

// Where the overlay's screen lies on the desktop, followed while monitors and pointer move. The main screen
// is the primary monitor, else the first one, else the whole desktop.
class X11Screens {
public:
    // Device pixels in one point of the screen with that name.
    using Scale = std::function<double(const std::string &name)>;

    X11Screens(X11Connection &connection, MainQueue &queue, ScreenChoice choice, Scale scale);
    X11Screens(const X11Screens &) = delete;
    X11Screens &operator=(const X11Screens &) = delete;

    const QRect &area() const { return m_area; } // Device pixels from the desktop's top left.
    const std::string &name() const { return m_name; }
    QRect desktop() const;                   // All screens together, device pixels.
    double scale() const { return m_scale; } // Device pixels in one point.
    Size size() const;                       // Points.

    // The place on the overlay, lower-left origin, of a device pixel of the desktop.
    Point toOverlay(int x, int y) const;

    void onChanged(std::function<void()> listener) { m_changed = std::move(listener); }

    // Looks again on a later turn of the loop.
    void refreshSoon();

    // The pointer is there (device pixels of the desktop). Where it decides, a change is told at once.
    void pointerAt(QPoint place);
    // Asks where it is, if it decides.
    void findPointer();

private:
    bool followsPointer() const { return m_choice.rule == ScreenChoice::Rule::Pointer; }
    void refresh();
    const X11Monitor &chosen();
    void settleOn(const X11Monitor &monitor);

    X11Connection &m_connection;
    MainQueue &m_queue;
    const ScreenChoice m_choice;
    Scale m_askScale;
    std::function<void()> m_changed;
    std::vector<X11Monitor> m_monitors; // Never empty once looked at.
    std::string m_name;                 // Of the overlay's.
    QRect m_area;
    double m_scale = 1;
    bool m_missed = false; // The one that is asked for by name.
    bool m_refreshPosted = false;
    Lifetime m_lifetime;
};

} // namespace companion
