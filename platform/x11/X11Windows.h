#pragma once

#include "platform/ports/OwnWindows.h"
#include "platform/x11/X11Connection.h"

#include <vector>

namespace companion {

// Speaks for the toolkit's windows to the window manager.
//
// What concerns one window goes over the toolkit's own connection where there is one, so that it comes before
// or after the mapping as it does here. Looking goes over ours.
class X11Windows final : public OwnWindows {
public:
    explicit X11Windows(X11Connection &connection) : m_connection(connection) {}

    void announce(Window window, const std::string &startupId) override;
    void startupEnded(const std::string &startupId) override;
    Window owner() const override;
    void activate(Window window, const std::string &startupId) override;
    Sight look(Window window) const override;

private:
    xcb_connection_t *toolkit() const;
    xcb_atom_t atom(const char *name) const { return m_connection.atom(name); }
    bool holds(xcb_window_t window, const char *property, const char *atomName) const;
    bool onAnotherDesktop(xcb_window_t window) const;
    bool isOurs(xcb_window_t window, xcb_window_t oneOfTheToolkit) const;
    bool hides(xcb_window_t window) const;

    X11Connection &m_connection;
};

} // namespace companion
