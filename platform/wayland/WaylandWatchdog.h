#pragma once

#include "core/MainThreadWatch.h"
#include "platform/ports/Watchdog.h"

namespace companion {

class WaylandConnection;
class WaylandSurface;

// Takes the overlay out of the way through the same connection, which then stays: a compositor ends one whose
// program leaves the mouse's events lying.
class WaylandWatchdog final : public Watchdog {
public:
    WaylandWatchdog(MainQueue &queue, WaylandConnection &connection, WaylandSurface &surface);

    void setOn(bool on) override { m_watch.setOn(on); }
    void onRecovered(std::function<void()> listener) override { m_recovered = std::move(listener); }

private:
    std::function<void()> m_recovered;
    MainThreadWatch m_watch;
};

} // namespace companion
