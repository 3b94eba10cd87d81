#pragma once

#include "core/Lifetime.h"

namespace companion {

class MainQueue;
class NotificationCenter;
struct Notification;
class OverlaySurface;

// Keeps the overlay window's level and its mouse pass-through. All three must outlive the controller.
class MainWindowController {
public:
    MainWindowController(MainQueue &queue, NotificationCenter &center, OverlaySurface &surface);

    // Overlay set-up: on top, observing, the mouse passing through.
    void windowDidLoad();

    // SYSTEM_SETWINDOWLEVEL: 1 brings the overlay to the front level, anything else sends it to the back.
    void setWindowLevel(const Notification &notification);

    // SYSTEM_SETMOUSEIGNORES: takes effect on a later turn of the loop, so code that runs right after the
    // post still meets the old state; of several posts the last one wins.
    void setMouseIgnores(const Notification &notification);

private:
    MainQueue &m_queue;
    NotificationCenter &m_center;
    OverlaySurface &m_surface;
    Lifetime m_lifetime;
};

} // namespace companion
