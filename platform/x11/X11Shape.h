#pragma once

#include "platform/ports/OverlaySurface.h"
#include "platform/x11/X11Connection.h"

#include <xcb/xfixes.h>

#include <span>
#include <vector>

namespace companion {

// The visible outline of the overlay's window. While nothing can show it is empty, so that a mapped overlay
// costs the server and the compositor nothing. Two ways to keep it, and a reset between them:
//
// - with a compositor, one rectangle that holds all that is occupied; it changes rarely, since each change
//   makes the compositor work more than a few transparent pixels do;
// - without one, exactly the pixels painted: the rest of the window would be black.
class X11Shape {
public:
    X11Shape(X11Connection &connection, xcb_window_t window);
    X11Shape(const X11Shape &) = delete;
    X11Shape &operator=(const X11Shape &) = delete;

    // Empty. What comes into view later starts transparent (with a compositor), or as what the screen shows
    // there (without: nothing black may flash up before it is painted over).
    void reset(bool composited);

    // With a compositor: room for what is occupied, or for `all` when it moves about.
    void cover(const QRect &occupied, const QRect &all, bool moving);

    // Without one: collected here and carried out by apply().
    void remove(std::span<const xcb_rectangle_t> rectangles) { combine(rectangles, false); }
    void add(std::span<const xcb_rectangle_t> rectangles) { combine(rectangles, true); }
    void apply();

private:
    void combine(std::span<const xcb_rectangle_t> rectangles, bool add);
    void set(const QRect &rectangle);

    X11Connection &m_connection;
    xcb_window_t m_window;
    QRect m_rectangle;                // In force, with a compositor.
    xcb_xfixes_region_t m_region;     // Collected, without one; the server does the arithmetic.
    xcb_xfixes_region_t m_difference; // Scratch.
    bool m_changed = false;
};

} // namespace companion
