#include "platform/x11/X11Cursor.h"

#include <xcb/xfixes.h>

namespace companion {

void X11Cursor::setHiddenUntilMouseMoves() {
    {
        const std::lock_guard lock(m_mutex);
        if (m_hidden)
            return;
        m_hidden = true;
        m_hiddenBy = xcb_xfixes_hide_cursor(m_connection.xcb(), m_connection.root()).sequence;
    }
    if (m_hiddenListener)
        m_hiddenListener();
    m_connection.flush();
}

void X11Cursor::show() {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_hidden)
            return;
        m_hidden = false;
        xcb_xfixes_show_cursor(m_connection.xcb(), m_connection.root());
    }
    xcb_flush(m_connection.xcb()); // A server that has gone is for the main thread to find out.
}

bool X11Cursor::mouseMoved(unsigned sequence) {
    if (static_cast<std::int32_t>(sequence - m_hiddenBy) >= 0)
        show();
    const std::lock_guard lock(m_mutex);
    return m_hidden;
}

} // namespace companion
