#include "platform/x11/X11Pane.h"

#include "platform/x11/X11Rectangle.h"

#include <xcb/shape.h>

#include <utility>

namespace companion {
namespace {

constexpr std::chrono::milliseconds kReadingTime(100);
constexpr unsigned kAllButtons =
    XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_3 | XCB_BUTTON_MASK_4 | XCB_BUTTON_MASK_5;

} // namespace

X11Pane::X11Pane(X11Connection &connection, MainQueue &queue, xcb_window_t window, const QRect &area)
    : m_connection(connection),
      m_queue(queue),
      m_window(window),
      m_area(area) {
    setTakesMouse(false);
    connection.onEvent(XCB_BUTTON_PRESS, [this](const xcb_generic_event_t &event) {
        if (reinterpret_cast<const xcb_button_press_event_t &>(event).event == m_window)
            m_pressed = true;
    });
    connection.onEvent(XCB_BUTTON_RELEASE, [this](const xcb_generic_event_t &event) {
        const auto &release = reinterpret_cast<const xcb_button_release_event_t &>(event);
        // The state is that before the event. Buttons beyond the fifth are not in it.
        const unsigned own = release.detail <= 5 ? XCB_BUTTON_MASK_1 << (release.detail - 1) : 0;
        if (release.event != m_window || (release.state & kAllButtons & ~own) != 0)
            return;
        m_pressed = false;
        setWanted(m_wanted);
        m_connection.flush();
    });
}

void X11Pane::setArea(const QRect &area) {
    m_area = area;
    place(m_onScreen ? m_area : waitingPlace());
}

void X11Pane::setWanted(bool wanted) {
    m_wanted = wanted;
    if (wanted && !m_onScreen)
        come();
    else if (!wanted && m_onScreen && !m_pressed && m_lettingGo == 0)
        leave();
}

void X11Pane::setTakesMouse(bool takes) {
    if (std::exchange(m_takesMouse, takes) == takes)
        return;
    const xcb_rectangle_t everywhere{0, 0, 0xffff, 0xffff};
    xcb_shape_rectangles(m_connection.xcb(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED,
                         m_window, 0, 0, takes ? 1 : 0, &everywhere);
    if (takes || !m_onScreen)
        return;
    ++m_lettingGo;
    m_queue.post(kReadingTime, m_lifetime.guard([this] {
        --m_lettingGo;
        setWanted(m_wanted);
        m_connection.flush();
    }));
}

void X11Pane::come() {
    m_onScreen = true;
    if (m_waitsOutside)
        place(m_area);
    else
        xcb_map_window(m_connection.xcb(), m_window);
}

void X11Pane::leave() {
    if (!m_onScreen)
        return;
    if (!m_waitsOutside)
        return withdraw();
    m_onScreen = false;
    m_pressed = false;
    place(waitingPlace());
    xcb_clear_area(m_connection.xcb(), 0, m_window, 0, 0, 0, 0);
}

void X11Pane::withdraw() {
    m_onScreen = false;
    m_pressed = false;
    xcb_unmap_window(m_connection.xcb(), m_window);
    place(waitingPlace());
    if (m_waitsOutside)
        xcb_map_window(m_connection.xcb(), m_window);
}

void X11Pane::setWaitsOutside(bool waits) {
    m_waitsOutside = waits;
    withdraw();
}

// No screen has negative coordinates.
QRect X11Pane::waitingPlace() const {
    return m_waitsOutside ? QRect(QPoint(-m_area.width(), 0), m_area.size()) : m_area;
}

void X11Pane::place(const QRect &area) {
    const auto r = toRectangle(area);
    const std::uint32_t values[] = {static_cast<std::uint32_t>(r.x), static_cast<std::uint32_t>(r.y), r.width,
                                    r.height};
    xcb_configure_window(m_connection.xcb(), m_window,
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT,
                         values);
}

} // namespace companion
