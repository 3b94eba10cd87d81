#pragma once

#include "platform/x11/X11Connection.h"

namespace companion {

// Whether a compositor blends translucent windows with what lies below; without one they are black wherever
// nothing is painted.
class X11CompositorWatch {
public:
    explicit X11CompositorWatch(X11Connection &connection);
    X11CompositorWatch(const X11CompositorWatch &) = delete;
    X11CompositorWatch &operator=(const X11CompositorWatch &) = delete;

    bool running() const { return m_running; }
    void onChanged(std::function<void()> listener) { m_changed = std::move(listener); }

private:
    xcb_atom_t m_selection;
    bool m_running = false;
    std::function<void()> m_changed;
};

} // namespace companion
