#include "platform/x11/X11CompositorWatch.h"

#include "core/Log.h"

#include <xcb/xfixes.h>

namespace companion {

namespace {

void logMissing() {
    Log::line("no compositor runs: the desktop cannot be seen through the overlay, so the spotlight and all "
              "transparency are off; the laser dot is drawn opaque");
}

} // namespace

X11CompositorWatch::X11CompositorWatch(X11Connection &connection)
    : m_selection(connection.atom(("_NET_WM_CM_S" + std::to_string(connection.screenNumber())).c_str())) {
    auto *c = connection.xcb();
    // A compositor holds this selection while it runs. Watched before it is asked for: none slips through.
    xcb_xfixes_select_selection_input(c, connection.root(), m_selection,
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    const auto type =
        static_cast<std::uint8_t>(connection.extensions().xfixesEvent + XCB_XFIXES_SELECTION_NOTIFY);
    connection.onEvent(type, [this](const xcb_generic_event_t &event) {
        const auto &notify = reinterpret_cast<const xcb_xfixes_selection_notify_event_t &>(event);
        const bool running = notify.owner != XCB_NONE;
        if (notify.selection != m_selection || running == m_running)
            return;
        m_running = running;
        if (running)
            Log::line("a compositor runs again: the overlay is translucent");
        else
            logMissing();
        if (m_changed)
            m_changed();
    });
    const X11Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, m_selection), nullptr));
    if (!reply)
        connection.checkAlive();
    m_running = reply && reply->owner != XCB_NONE;
    if (!m_running)
        logMissing();
}

} // namespace companion
