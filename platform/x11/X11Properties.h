#pragma once

#include "platform/x11/X11Connection.h"

#include <QRect>

#include <string>
#include <vector>

namespace companion {

// What windows say of themselves, and how they lie in one another. Each call asks the server and waits for
// the answer; what is not there, or has another form, is empty.

std::vector<std::uint32_t> x11Numbers(const X11Connection::Link &link, xcb_window_t window,
                                      const char *property);
std::string x11Text(const X11Connection::Link &link, xcb_window_t window, const char *property);

// From the bottom up.
std::vector<xcb_window_t> x11ChildrenOf(xcb_connection_t *c, xcb_window_t window);

// The child of the root that the window lies in, itself without a window manager; none if it is gone.
xcb_window_t x11FrameOf(xcb_connection_t *c, xcb_window_t root, xcb_window_t window);

// Whether it is on the screen and has pixels.
bool x11IsVisible(xcb_connection_t *c, xcb_window_t window);

struct X11Extent {
    QRect area; // In its parent, with its border. Empty when there is no such window any more.
    bool opaque = false;
};
X11Extent x11ExtentOf(xcb_connection_t *c, xcb_window_t window);

// The window that a window manager keeps to say that it runs; none without one.
xcb_window_t x11WindowManager(const X11Connection::Link &link);

} // namespace companion
