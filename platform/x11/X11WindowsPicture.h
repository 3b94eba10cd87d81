#pragma once

#include "platform/x11/X11Connection.h"

#include <QRect>

namespace companion {

// Whether the X server hands its windows to a Wayland compositor one by one, so that none of them is seen in
// its root window. Asks the server.
bool isXwayland(X11Connection &connection);

// What the X windows show of an area of the root window, put together by the server in a pixmap of that size.
// What lies below them, such as windows that are native to Wayland, is black.
class X11WindowsPicture {
public:
    X11WindowsPicture(X11Connection &connection, const QRect &area);
    ~X11WindowsPicture();
    X11WindowsPicture(const X11WindowsPicture &) = delete;
    X11WindowsPicture &operator=(const X11WindowsPicture &) = delete;

    // XCB_NONE when the server cannot put windows together.
    xcb_pixmap_t pixmap() const { return m_drawn ? m_pixmap : xcb_pixmap_t{XCB_NONE}; }

private:
    void draw(const QRect &area);

    X11Connection &m_connection;
    xcb_pixmap_t m_pixmap;
    bool m_drawn = false;
};

} // namespace companion
