#include "platform/wayland/WaylandWindows.h"

#include <QGuiApplication>
#include <QWindow>

namespace companion {

void WaylandWindows::activate(Window window, const std::string &startupId) {
    for (QWindow *each : QGuiApplication::topLevelWindows()) {
        if (each->handle() == nullptr || each->winId() != window)
            continue;
        if (!startupId.empty()) // The toolkit takes it from there, once.
            qputenv("XDG_ACTIVATION_TOKEN", QByteArray::fromStdString(startupId));
        each->requestActivate();
    }
}

} // namespace companion
