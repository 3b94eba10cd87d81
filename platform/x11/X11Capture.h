#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "platform/ports/DesktopPictures.h"
#include "platform/ports/ScreenCapture.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Screens.h"
#include "platform/x11/X11SharedMemory.h"

#include <memory>
#include <optional>

namespace companion {

// Pictures of the main screen, of its X windows alone under Xwayland, answered within the call. The server
// writes them into memory that the picture itself keeps; memory no longer looked at serves the next capture,
// and is given back when none follows soon. `desktop`, which may be null, is asked first: under Xwayland it
// sees the other windows, too, though later than within the call.
class X11Capture final : public ScreenCapture {
public:
    X11Capture(X11Connection &connection, X11Screens &screens, MainQueue &queue,
               DesktopPictures *desktop = nullptr);
    X11Capture(const X11Capture &) = delete;
    X11Capture &operator=(const X11Capture &) = delete;

    bool available() const override { return m_available; }
    void captureDesktop(std::function<void(const QImage &)> done) override;
    void probe() override;

private:
    QImage ofServer();
    DesktopPictures::Place place() const;
    QImage taken(xcb_drawable_t drawable, const QRect &area);
    QImage shared(xcb_drawable_t drawable, const QRect &area);
    QImage copied(xcb_drawable_t drawable, const QRect &area);
    bool windowsAreApart();
    void releaseSoon();

    X11Connection &m_connection;
    X11Screens &m_screens;
    MainQueue &m_queue;
    DesktopPictures *m_desktop;
    bool m_available;
    std::optional<bool> m_windowsAreApart; // Not known before the first picture.
    std::shared_ptr<X11SharedMemory> m_memory;
    bool m_releasePosted = false;
    Lifetime m_lifetime;
};

} // namespace companion
