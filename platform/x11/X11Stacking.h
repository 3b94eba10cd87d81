#pragma once

#include "platform/x11/X11Connection.h"

#include <array>

namespace companion {

// Where the overlay's windows stand among all others: on top, but below one window while that is on the
// screen.
class X11Stacking {
public:
    X11Stacking(X11Connection &connection, std::array<xcb_window_t, 2> windows);

    // On top, or right below the window that is to stay above.
    void raise();

    // From now on this window of the program stays above, until it is taken off the screen.
    void stayBelow(xcb_window_t window);

private:
    xcb_window_t frameOf(xcb_window_t window);

    X11Connection &m_connection;
    std::array<xcb_window_t, 2> m_windows;
    xcb_window_t m_above = XCB_NONE;
};

} // namespace companion
