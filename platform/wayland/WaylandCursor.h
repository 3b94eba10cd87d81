#pragma once

#include "core/Lifetime.h"
#include "platform/ports/CursorVisibility.h"
#include "platform/wayland/WaylandPointers.h"

#include <wayland-cursor.h>

#include <memory>

namespace companion {

class WaylandOutputs;

// What the mouse shows over the overlay. Elsewhere it is never hidden, and needs no showing.
class WaylandCursor final : public CursorVisibility {
public:
    WaylandCursor(WaylandConnection &connection, WaylandPointers &pointers, WaylandOutputs &outputs);

    bool available() const override { return true; }
    void setHiddenUntilMouseMoves() override;
    void show() override;

private:
    void loadArrow();
    void takeArrowFrom(wl_cursor_theme &theme);

    WaylandConnection &m_connection;
    WaylandPointers &m_pointers;
    WaylandOutputs &m_outputs;
    bool m_hidden = true; // As the pointers have it at first.
    int m_factor = 0;     // That the arrow is made for; 0: none yet.
    std::shared_ptr<wl_cursor_theme> m_theme;
    WaylandPtr<wl_surface>
        m_arrow; // Null before there is a theme, and without one: then the cursor stays hidden.
    int m_hotspotX = 0, m_hotspotY = 0;
    Lifetime m_lifetime;
};

} // namespace companion
