#pragma once

#include "support/rig/Desktop.h"

#include <QImage>

#include <vector>

namespace companion {

// The overlay's two windows as another client of the server finds them.
class OverlayWindows {
public:
    explicit OverlayWindows(const rig::Desktop &desktop) : m_connection(desktop.display()) {}

    xcb_window_t drawn() const { return find(XCB_WINDOW_CLASS_INPUT_OUTPUT); }
    xcb_window_t catcher() const { return find(XCB_WINDOW_CLASS_INPUT_ONLY); }
    bool isMapped(xcb_window_t window) const { return m_connection.isShown(window); }
    QRect mouseTaken() const;
    QImage content() const;

    // All of the desktop's windows, from the bottom up.
    std::vector<xcb_window_t> stack() const { return m_connection.childrenOf(m_connection.root()); }

    // Does what tells clients that a compositor runs and is at work.
    void pretendCompositor();

    const rig::XConnection &connection() const { return m_connection; }

private:
    xcb_window_t find(int windowClass) const;

    rig::XConnection m_connection;
};

} // namespace companion
