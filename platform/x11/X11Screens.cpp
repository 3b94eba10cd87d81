#include "platform/x11/X11Screens.h"

#include <xcb/randr.h>

#include <chrono>

namespace companion {

X11Screens::X11Screens(X11Connection &connection, MainQueue &queue, std::function<double()> scale)
    : m_connection(connection),
      m_queue(queue),
      m_askScale(std::move(scale)) {
    // The root's own size changes are told to whoever asks for structure changes, monitors included.
    connection.askRootFor(XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    connection.onEvent(XCB_CONFIGURE_NOTIFY, [this](const xcb_generic_event_t &event) {
        if (reinterpret_cast<const xcb_configure_notify_event_t &>(event).window == m_connection.root())
            refreshSoon();
    });
    if (const auto first = connection.extensions().randrEvent) {
        xcb_randr_select_input(connection.xcb(), connection.root(),
                               XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                                   XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
        for (const int event : {XCB_RANDR_SCREEN_CHANGE_NOTIFY, XCB_RANDR_NOTIFY})
            connection.onEvent(static_cast<std::uint8_t>(first + event),
                               [this](const xcb_generic_event_t &) { refreshSoon(); });
    }
    refresh();
}

Size X11Screens::size() const {
    return {m_mainScreen.width() / m_scale, m_mainScreen.height() / m_scale};
}

Point X11Screens::toOverlay(int x, int y) const {
    return {(x - m_mainScreen.x()) / m_scale, size().height - (y - m_mainScreen.y()) / m_scale};
}

// One change of the desktop is told in many events.
void X11Screens::refreshSoon() {
    if (m_refreshPosted)
        return;
    m_refreshPosted = true;
    m_queue.post(std::chrono::milliseconds(0), m_lifetime.guard([this] {
        m_refreshPosted = false;
        if (refresh() && m_changed)
            m_changed();
    }));
}

bool X11Screens::refresh() {
    auto *c = m_connection.xcb();
    const bool randr = m_connection.extensions().randrEvent != 0;
    const auto rootCookie = xcb_get_geometry(c, m_connection.root());
    const auto monitorsCookie =
        randr ? xcb_randr_get_monitors(c, m_connection.root(), 1) : xcb_randr_get_monitors_cookie_t{};
    QRect found;
    const X11Reply<xcb_get_geometry_reply_t> root(xcb_get_geometry_reply(c, rootCookie, nullptr));
    if (!root)
        m_connection.checkAlive();
    else
        found = QRect(0, 0, root->width, root->height);
    if (randr) {
        const X11Reply<xcb_randr_get_monitors_reply_t> monitors(
            xcb_randr_get_monitors_reply(c, monitorsCookie, nullptr));
        bool first = true;
        for (auto i = xcb_randr_get_monitors_monitors_iterator(monitors.get()); monitors && i.rem > 0;
             xcb_randr_monitor_info_next(&i)) {
            if ((first || i.data->primary) && i.data->width > 0 && i.data->height > 0)
                found = QRect(i.data->x, i.data->y, i.data->width, i.data->height);
            first = false;
        }
    }
    const double asked = m_askScale ? m_askScale() : 1;
    const double scale = asked > 0 ? asked : 1;
    if (found == m_mainScreen && scale == m_scale)
        return false;
    m_mainScreen = found;
    m_scale = scale;
    return true;
}

} // namespace companion
