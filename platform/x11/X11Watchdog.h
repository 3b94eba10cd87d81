#pragma once

#include "core/MainThreadWatch.h"
#include "platform/ports/Watchdog.h"
#include "platform/x11/X11Connection.h"

#include <functional>
#include <string>
#include <utility>

namespace companion {

class X11Cursor;
class X11Surface;

// Takes the overlay away over a connection of its own, since the main one may be in use by the stuck thread.
// Only the cursor needs the main one, as the server undoes a hiding for the client that asked for it: that
// comes last, and the library lets threads share a connection.
class X11Watchdog final : public Watchdog {
public:
    X11Watchdog(MainQueue &queue, std::string displayName, X11Surface *surface, X11Cursor &cursor);

    void setOn(bool on) override { m_watch.setOn(on); }
    void onRecovered(std::function<void()> listener) override { m_recovered = std::move(listener); }

private:
    void rescue();

    const std::string m_displayName;
    X11Surface *const m_surface; // Null on a server without translucent windows: then it is never turned on.
    X11Cursor &m_cursor;
    std::function<void()> m_recovered;
    X11Connection::Link m_link; // The watch's thread's.
    MainThreadWatch m_watch;    // Its thread ends first.
};

} // namespace companion
