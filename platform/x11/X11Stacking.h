#pragma once

#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Screens.h"

#include <array>
#include <vector>

namespace companion {

// Where the overlay's windows stand among all others: on top, but right below the program's own windows that
// are to stay above, while those are on the screen.
//
// A window manager puts a window into a frame, and moves frames up and down as it likes. While there are
// windows to stay below, every such change is followed. When a full-screen window lies over them they are out
// of sight: the next raise() then goes to the very top.
class X11Stacking {
public:
    // The windows from the bottom up. They are seen on the overlay's screen, whether mapped now or not.
    X11Stacking(X11Connection &connection, const X11Screens &screens, std::array<xcb_window_t, 2> windows);

    // On top, or right below the windows that are to stay above.
    void raise();

    // From now on this window, too, stays above, until it is destroyed. When the last of them leaves the
    // screen the overlay is on top again.
    void stayBelow(xcb_window_t window);

private:
    // Children of the root, from the bottom up.
    struct Standing {
        std::vector<xcb_window_t> all;
        std::vector<xcb_window_t> above; // Those of `all` that hold a visible window which is to stay above.
    };

    Standing look();
    void follow();
    bool covered(const Standing &standing) const;
    bool rightBelow(const Standing &standing) const;
    void place(xcb_window_t below);
    bool isOurs(xcb_window_t window) const;

    X11Connection &m_connection;
    const X11Screens &m_screens;
    std::array<xcb_window_t, 2> m_windows;
    std::vector<xcb_window_t> m_above;
    bool m_belowSome = false; // When last looked at.
    bool m_changed = false;
};

} // namespace companion
