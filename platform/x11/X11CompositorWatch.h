#pragma once

#include "platform/x11/X11SelectionWatch.h"

namespace companion {

// Whether a compositor blends translucent windows with what lies below; without one they are black wherever
// nothing is painted. Says in the log that there is none, and each change.
class X11CompositorWatch {
public:
    static constexpr const char *kSelection = "_NET_WM_CM"; // A compositor holds it while it runs.

    explicit X11CompositorWatch(X11Connection &connection);
    X11CompositorWatch(const X11CompositorWatch &) = delete;
    X11CompositorWatch &operator=(const X11CompositorWatch &) = delete;

    bool running() const { return m_selection.held(); }
    void onChanged(std::function<void()> listener) { m_changed = std::move(listener); }

    // Whether it is at work just now: it may pause for a full-screen video, and need a moment at its start.
    // One round trip each; the first for a window that is on the screen, the second whenever none is.
    bool blends(xcb_window_t shown) const;
    bool blends() const;

    // Whether it may be told to fade in whatever window comes up, and none can ask to be left out.
    bool fadesWindows();

private:
    bool isRedirected(xcb_window_t window, bool mapFirst) const;

    X11Connection &m_connection;
    xcb_window_t m_probe; // One pixel, outside of the desktop.
    std::function<void()> m_changed;
    X11SelectionWatch m_selection;
    xcb_window_t m_askedOwner = XCB_NONE; // The compositor that the answer below is about.
    bool m_fades = false;
};

} // namespace companion
