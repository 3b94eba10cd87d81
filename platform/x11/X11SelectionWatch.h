#pragma once

#include "platform/x11/X11Connection.h"

namespace companion {

// Whether somebody holds a selection of this screen: compositors and trays announce themselves so.
class X11SelectionWatch {
public:
    // The name of the selection without the number of the screen. `changed` is told each change, and not what
    // is found at first.
    X11SelectionWatch(X11Connection &connection, const std::string &name, std::function<void()> changed);
    X11SelectionWatch(const X11SelectionWatch &) = delete;
    X11SelectionWatch &operator=(const X11SelectionWatch &) = delete;

    bool held() const { return m_owner != XCB_NONE; }
    xcb_window_t owner() const { return m_owner; }

private:
    xcb_atom_t m_selection;
    xcb_window_t m_owner = XCB_NONE;
    std::function<void()> m_changed;
};

// The same for once; none while nobody holds it.
xcb_window_t x11SelectionOwner(const X11Connection::Link &link, const std::string &name);

} // namespace companion
