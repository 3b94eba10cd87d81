#include "app/WaylandSession.h"

#include <QByteArray>

namespace companion {

bool isWaylandSession() {
    return qgetenv("XDG_SESSION_TYPE") == "wayland" || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

} // namespace companion
