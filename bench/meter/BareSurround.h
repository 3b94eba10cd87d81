#pragma once

#include "support/rig/XConnection.h"

namespace companion::bench {

// The least that could dim a whole screen at once: a translucent window that is there already, without an
// outline, and is given one and filled by the server.
class BareSurround {
public:
    explicit BareSurround(const std::string &display);

    // Sent, not waited for.
    void show();
    void hide();

private:
    void outline(bool whole);

    rig::XConnection m_connection;
    xcb_rectangle_t m_all;
    xcb_window_t m_window;
    xcb_gcontext_t m_gc;
};

} // namespace companion::bench
