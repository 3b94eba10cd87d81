#pragma once

#include "platform/ports/DesktopMouse.h"
#include "platform/wayland/WaylandConnection.h"
#include "platform/wayland/WaylandOutputs.h"
#include "platform/wayland/WaylandSurface.h"

#include <functional>

namespace companion {

// Clicks by whatever the compositor has for it: a virtual pointer on the overlay's screen, or the desktop's
// way to feign input; else by `other`, where there is one screen only; it may be null.
//
// A press while the overlay takes the mouse would go to the overlay and mean nothing, and one compositor
// would take the keyboard from the slides for it: it is left out, and the motion is told on.
class WaylandMouse final : public SyntheticMouse {
public:
    WaylandMouse(WaylandConnection &connection, WaylandOutputs &outputs, WaylandSurface &surface,
                 DesktopMouse *other);

    bool available() const override;
    void post(SyntheticMouseEvent event, QPointF where) override;

    // Told of each motion, overlay points.
    void onMoved(std::function<void(Point)> listener) { m_moved = std::move(listener); }

private:
    void postVirtual(SyntheticMouseEvent event, QPointF where);
    void postFeigned(SyntheticMouseEvent event, QPointF where);

    WaylandConnection &m_connection;
    WaylandOutputs &m_outputs;
    WaylandSurface &m_surface;
    DesktopMouse *m_other;
    WaylandPtr<zwlr_virtual_pointer_manager_v1> m_pointers;
    WaylandPtr<org_kde_kwin_fake_input> m_feigned;
    WaylandPtr<zwlr_virtual_pointer_v1> m_pointer; // On this screen:
    std::uint32_t m_pointerOn = 0;
    std::function<void(Point)> m_moved;
};

} // namespace companion
