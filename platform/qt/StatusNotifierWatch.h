#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QTimer>

#include <chrono>
#include <functional>

namespace companion {

// Tells when there is a StatusNotifier tray on the session bus: a watcher that answers and knows of a host. A
// watcher alone is not enough, as it may be up long before the panel is. Nothing waits for anybody.
class StatusNotifierWatch {
public:
    // `found` is called on a later turn, and again when the tray comes back; it must not destroy the watch.
    explicit StatusNotifierWatch(std::function<void()> found);
    StatusNotifierWatch(const StatusNotifierWatch &) = delete;
    StatusNotifierWatch &operator=(const StatusNotifierWatch &) = delete;

    // For once, waiting for the answer at most so long.
    static bool hostRuns(std::chrono::milliseconds patience);

private:
    void ask();

    std::function<void()> m_found;
    QDBusConnection m_bus;
    QDBusServiceWatcher m_watcher;
    QTimer m_askAgain; // A host's arrival starts it; a signal of the bus can reach only what has slots.
};

} // namespace companion
