#include "platform/x11/X11CompositorWatch.h"

#include "core/Log.h"

namespace companion {

namespace {

void logMissing() {
    Log::line("no compositor runs: the desktop cannot be seen through the overlay, so the spotlight and all "
              "transparency are off; the laser dot is drawn opaque");
}

} // namespace

X11CompositorWatch::X11CompositorWatch(X11Connection &connection)
    : m_selection(connection, kSelection, [this] {
          if (running())
              Log::line("a compositor runs again: the overlay is translucent");
          else
              logMissing();
          if (m_changed)
              m_changed();
      }) {
    if (!running())
        logMissing();
}

} // namespace companion
