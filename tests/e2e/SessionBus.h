#pragma once

#include "support/rig/Desktop.h"

#include <csignal>

namespace companion::rig {

// A session bus of its own for one desktop, which it must not outlive. Ready when the constructor returns.
class SessionBus {
public:
    explicit SessionBus(const Desktop &desktop)
        : m_desktop(desktop),
          m_address("unix:path=" + desktop.file("the%20bus")), // A blank, escaped.
          m_daemon({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address",
                    "--address=" + m_address},
                   desktop.environment()) {
        waitUntil("a session bus", [this] { return !m_daemon.out().empty(); });
    }
    // The desktop's, with this bus.
    Environment environment() const {
        Environment all = m_desktop.environment();
        all["DBUS_SESSION_BUS_ADDRESS"] = m_address;
        return all;
    }

    void stop() { m_daemon.signal(SIGSTOP); }

private:
    const Desktop &m_desktop;
    std::string m_address;
    ChildProcess m_daemon;
};

} // namespace companion::rig
