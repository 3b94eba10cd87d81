#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "platform/x11/X11Connection.h"

#include <QRect>

namespace companion {

// One of the overlay's windows: on the screen only while it is wanted there.
//
// A press that began on it keeps its release: until then it stays, since the server would hand the release to
// the window below. It lets every other event through meanwhile. A press may also just have come and not be
// read yet, so it never leaves right after it let the mouse go.
class X11Pane {
public:
    // The window is not mapped yet and asks for button events.
    X11Pane(X11Connection &connection, MainQueue &queue, xcb_window_t window, const QRect &area);
    X11Pane(const X11Pane &) = delete;
    X11Pane &operator=(const X11Pane &) = delete;

    xcb_window_t window() const { return m_window; }
    bool onScreen() const { return m_onScreen; }

    // Device pixels of the desktop.
    void setArea(const QRect &area);

    void setWanted(bool wanted);
    void setTakesMouse(bool takes);

    // Leaves the screen now, press or not, and comes back when it is next wanted.
    void leave();
    // The same whatever others have done to the window meanwhile.
    void withdraw();

    // Where a compositor fades in what is mapped, the window is mapped for good and waits, empty, outside of
    // the desktop: it may be painted there before it comes. Off the screen now, whichever.
    void setWaitsOutside(bool waits);
    bool waitsOutside() const { return m_waitsOutside; }

private:
    void come();
    void place(const QRect &area);
    QRect waitingPlace() const;

    X11Connection &m_connection;
    MainQueue &m_queue;
    const xcb_window_t m_window;
    QRect m_area;
    bool m_wanted = false;
    bool m_onScreen = false;
    bool m_pressed = false;
    int m_lettingGo = 0;
    bool m_takesMouse = true; // As every new window does.
    bool m_waitsOutside = false;
    Lifetime m_lifetime;
};

} // namespace companion
