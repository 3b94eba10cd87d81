#pragma once

#include <QString>

#include <functional>

namespace companion {

// Asks the desktop to show a notification (org.freedesktop.Notifications), and starts no program that would.
// `shown` is called later, on the main thread, if the desktop took it; otherwise never.
void notifyUser(const QString &title, const QString &text, std::function<void()> shown);

} // namespace companion
