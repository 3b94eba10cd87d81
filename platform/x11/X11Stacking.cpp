#include "platform/x11/X11Stacking.h"

namespace companion {

X11Stacking::X11Stacking(X11Connection &connection, std::array<xcb_window_t, 2> windows)
    : m_connection(connection),
      m_windows(windows) {
    // The window manager puts a window into its frame, and the frame where it likes, after we have asked for
    // it.
    const auto appeared = [this](xcb_window_t window) {
        if (window == m_above)
            raise();
    };
    const auto gone = [this](xcb_window_t window) {
        if (window != m_above)
            return;
        m_above = XCB_NONE;
        raise();
    };
    m_connection.onEvent(XCB_MAP_NOTIFY, [appeared](const xcb_generic_event_t &event) {
        appeared(reinterpret_cast<const xcb_map_notify_event_t &>(event).window);
    });
    m_connection.onEvent(XCB_REPARENT_NOTIFY, [appeared](const xcb_generic_event_t &event) {
        appeared(reinterpret_cast<const xcb_reparent_notify_event_t &>(event).window);
    });
    m_connection.onEvent(XCB_DESTROY_NOTIFY, [gone](const xcb_generic_event_t &event) {
        gone(reinterpret_cast<const xcb_destroy_notify_event_t &>(event).window);
    });
}

void X11Stacking::stayBelow(xcb_window_t window) {
    m_above = window;
    const std::uint32_t changes = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection.xcb(), window, XCB_CW_EVENT_MASK, &changes);
    raise();
}

void X11Stacking::raise() {
    const xcb_window_t frame = frameOf(m_above);
    const std::uint32_t values[] = {frame, frame == XCB_NONE ? XCB_STACK_MODE_ABOVE : XCB_STACK_MODE_BELOW};
    const bool alone = frame == XCB_NONE;
    const std::uint16_t mask = XCB_CONFIG_WINDOW_STACK_MODE | (alone ? 0 : XCB_CONFIG_WINDOW_SIBLING);
    for (const xcb_window_t window : m_windows)
        xcb_configure_window(m_connection.xcb(), window, mask, alone ? values + 1 : values);
    m_connection.flush();
}

// The child of the root that the window lies in; none when there is no such window any more.
xcb_window_t X11Stacking::frameOf(xcb_window_t window) {
    while (window != XCB_NONE) {
        const auto cookie = xcb_query_tree(m_connection.xcb(), window);
        const X11Reply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(m_connection.xcb(), cookie, nullptr));
        if (!tree)
            return XCB_NONE;
        if (tree->parent == m_connection.root())
            return window;
        window = tree->parent;
    }
    return XCB_NONE;
}

} // namespace companion
