#pragma once

#include "platform/wayland/WaylandConnection.h"

#include <functional>
#include <memory>
#include <vector>

namespace companion {

// The mice of all seats while they are over the overlay: nothing is heard of them elsewhere.
class WaylandPointers {
public:
    struct Listener {
        // On the overlay's surface, in the compositor's points; a drag may lead outside of it. `buttons`:
        // bits of the Button below. The first place on the overlay is no motion: it may have come to the
        // mouse.
        std::function<void(double x, double y)> entered;
        std::function<void(double x, double y, unsigned buttons)> moved;
        std::function<void(unsigned button)> released;
    };
    enum Button : unsigned { kLeft = 1, kRight = 2, kOther = 4 };

    WaylandPointers(WaylandConnection &connection, Listener listener);
    ~WaylandPointers();

    // What every mouse shows over the overlay from now on; null: nothing. It must outlive its use.
    void setCursor(wl_surface *cursor, int hotspotX, int hotspotY);

private:
    struct Seat;

    void add(const WaylandConnection::Global &global);
    void applyCursor(const Seat &seat) const;

    WaylandConnection &m_connection;
    Listener m_listener;
    std::vector<std::unique_ptr<Seat>> m_seats;
    wl_surface *m_cursor = nullptr;
    int m_hotspotX = 0, m_hotspotY = 0;
};

} // namespace companion
