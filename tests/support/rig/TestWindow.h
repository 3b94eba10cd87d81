#pragma once

#include "support/rig/Desktop.h"

#include <QImage>
#include <QRect>

#include <vector>

namespace companion::rig {

// An ordinary program's window, such as a slideshow: it shows one colour or picture, and remembers what the
// user did to it. On the screen, and painted by the server, when the constructor returns.
class TestWindow {
public:
    enum class Kind { FullScreen, Managed, OverrideRedirect };

    // A full-screen window ignores the geometry. It has a cursor of its own.
    TestWindow(const Desktop &desktop, Kind kind, QRgb colour, const QRect &geometry = {});
    ~TestWindow();

    xcb_window_t id() const { return m_window; }
    void setPicture(const QImage &picture); // Again and again, if it is smaller than the window.
    // These two on X alone.
    void fill(const QRect &area, QRgb colour);
    void raise();

    using Button = WaylandClient::Button; // In device pixels of the desktop.
    const std::vector<Button> &buttons();
    // Whether a press came at this place since the last forget().
    bool pressedAt(QPoint at);
    bool focused();
    const std::vector<std::uint8_t> &keysPressed();
    void forget();

private:
    void readEvents();

    WaylandSession *m_wayland; // Null on X. It has one window only, and full-screen.
    XConnection m_connection;
    xcb_window_t m_window;
    bool m_focused = false;
    bool m_exposed = false;
    std::vector<Button> m_buttons;
    std::vector<std::uint8_t> m_keys;
};

} // namespace companion::rig
