#include "platform/wayland/WaylandWatchdog.h"

#include "core/Log.h"
#include "platform/wayland/WaylandConnection.h"
#include "platform/wayland/WaylandSurface.h"

namespace companion {
namespace {

// The last beat may have been up to 0.1 s before the thread got stuck.
constexpr std::chrono::milliseconds kLimit{500};

} // namespace

WaylandWatchdog::WaylandWatchdog(MainQueue &queue, WaylandConnection &connection, WaylandSurface &surface)
    : m_watch(queue, kLimit,
              {.prepare = [] {},
               .rescue = [&surface] { surface.rescue(); },
               .recovered =
                   [this, &surface] {
                       Log::line("the program was stuck; the overlay was out of the way meanwhile");
                       if (m_recovered)
                           m_recovered();
                       surface.putRight();
                   },
               .late = [&connection] { connection.readBeside(); }}) {}

} // namespace companion
