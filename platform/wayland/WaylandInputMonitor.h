#pragma once

#include "core/Lifetime.h"
#include "platform/ports/InputMonitor.h"
#include "platform/wayland/WaylandConnection.h"
#include "platform/wayland/WaylandSurface.h"

#include <deque>
#include <vector>

namespace companion {

class SlideKeys;

// What is heard of the mouse, which is nothing but while it is over the overlay and the overlay takes it, and
// of the presenter's keys, which come from the receiver itself.
class WaylandInputMonitor final : public InputMonitor {
public:
    WaylandInputMonitor(WaylandConnection &connection, MainQueue &queue, WaylandSurface &surface,
                        SlideKeys *keys);

    bool available() const override { return true; }
    void addGlobalMonitor(unsigned mask, Handler handler) override;
    std::optional<Point> pointer() const override { return m_place; }
    void followMotion(bool follow) override;

    // As the mouse tells it: on the overlay's surface, in the compositor's points.
    void moved(double x, double y, unsigned buttons);
    void released(unsigned button);

    // Somebody has moved the pointer there, overlay points, whether or not the compositor tells so.
    void placed(Point at);

private:
    struct Monitor {
        unsigned mask;
        Handler handler;
    };

    void append(InputEventType type, Point at, int keyCode = 0);
    bool canWait();
    void deliver();

    MainQueue &m_queue;
    WaylandSurface &m_surface;
    std::deque<Monitor> m_monitors; // Adding one leaves the others where they are: a handler may do it.
    std::vector<InputEvent> m_pending;
    std::vector<InputEvent> m_delivering;
    std::optional<Point> m_place;
    bool m_following = false;
    bool m_waits = false; // With motions, until the surface can show them.
    Lifetime m_lifetime;
};

} // namespace companion
