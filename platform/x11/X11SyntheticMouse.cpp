#include "platform/x11/X11SyntheticMouse.h"

#include "core/Log.h"

#include <xcb/xtest.h>

namespace companion {

X11SyntheticMouse::X11SyntheticMouse(X11Connection &connection, X11Screens &screens)
    : m_connection(connection),
      m_screens(screens) {
    if (!available())
        Log::line("the X server has no XTEST extension: no clicks at the screen's centre");
}

void X11SyntheticMouse::post(SyntheticMouseEvent event, QPointF where) {
    if (!available())
        return;
    const QPoint pixel = m_screens.area().topLeft() + (where * m_screens.scale()).toPoint();
    if (event == SyntheticMouseEvent::MouseMoved || pixel != m_movedTo)
        fake(XCB_MOTION_NOTIFY, 0, pixel);
    m_movedTo = pixel;
    if (event == SyntheticMouseEvent::LeftMouseDown)
        fake(XCB_BUTTON_PRESS, 1, QPoint());
    else if (event == SyntheticMouseEvent::LeftMouseUp)
        fake(XCB_BUTTON_RELEASE, 1, QPoint());
    m_connection.flush();
}

void X11SyntheticMouse::fake(std::uint8_t type, std::uint8_t detail, QPoint where) {
    xcb_test_fake_input(m_connection.xcb(), type, detail, XCB_CURRENT_TIME, m_connection.root(),
                        static_cast<std::int16_t>(where.x()), static_cast<std::int16_t>(where.y()), 0);
}

} // namespace companion
