#include "platform/x11/X11SyntheticMouse.h"

#include "core/Log.h"

#include <xcb/xtest.h>

#include <utility>

namespace companion {
namespace {

// For the overlay's window to leave the compositor's screen: what is clicked before is lost.
constexpr std::chrono::milliseconds kLeavingTime{100};

} // namespace

X11SyntheticMouse::X11SyntheticMouse(X11Connection &connection, X11Screens &screens,
                                     std::optional<Xwayland> xwayland)
    : m_connection(connection),
      m_screens(screens),
      m_xwayland(std::move(xwayland)) {
    if (available())
        return;
    if (m_xwayland)
        Log::line("the desktop lets no program click without asking: effects start and end without the click "
                  "in the centre; with --allow-clicks it asks you");
    else
        Log::line("the X server has no XTEST extension: no clicks at the screen's centre");
}

bool X11SyntheticMouse::available() const {
    if (m_xwayland)
        return m_xwayland->desktop != nullptr && m_xwayland->desktop->available();
    return m_connection.extensions().xtest;
}

void X11SyntheticMouse::post(SyntheticMouseEvent event, QPointF where) {
    const QPointF pixels = where * m_screens.scale();
    const QPoint pixel = m_screens.area().topLeft() + pixels.toPoint();
    const bool isOnlyScreen = m_screens.desktop() == m_screens.area();
    if (m_xwayland && available() && isOnlyScreen) {
        const auto click = [this, event, pixels, size = m_screens.area().size()] {
            m_xwayland->desktop->post(event, pixels, size);
        };
        return m_xwayland->queue.post(kLeavingTime, m_lifetime.guard(click));
    }
    if (m_xwayland && event == SyntheticMouseEvent::MouseMoved)
        return m_xwayland->leftOut(pixel);
    if (m_xwayland || !available())
        return;
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
