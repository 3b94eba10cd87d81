#pragma once

#include "platform/x11/X11Connection.h"

#include <xcb/xfixes.h>

#include <span>

namespace companion {

// The visible outline of the overlay's window where nothing blends windows: exactly what is painted, since
// the rest of the window would be black. With a compositor the window has none.
class X11Shape {
public:
    X11Shape(X11Connection &connection, xcb_window_t window);
    X11Shape(const X11Shape &) = delete;
    X11Shape &operator=(const X11Shape &) = delete;

    // The whole window.
    void drop();

    // Nothing; carried out by apply(), as are the two below.
    void clear();
    void remove(std::span<const xcb_rectangle_t> rectangles) { combine(rectangles, false); }
    void add(std::span<const xcb_rectangle_t> rectangles) { combine(rectangles, true); }
    void apply();

private:
    void combine(std::span<const xcb_rectangle_t> rectangles, bool add);

    X11Connection &m_connection;
    xcb_window_t m_window;
    xcb_xfixes_region_t m_region;     // Collected; the server does the arithmetic.
    xcb_xfixes_region_t m_difference; // Scratch.
    bool m_changed = false;
};

} // namespace companion
