#pragma once

#include "support/rig/ChildProcess.h"
#include "support/rig/WaylandClient.h"

#include <QSize>
#include <QTemporaryDir>

#include <memory>
#include <optional>

namespace companion::rig {

enum class Compositor { None, Sway, KWin };

// For the names of tests; X without a Wayland compositor.
inline std::string nameOf(Compositor compositor) {
    return compositor == Compositor::Sway ? "Sway" : compositor == Compositor::KWin ? "KWin" : "X";
}

// A compositor without hardware. Ready when the constructor returns, with the slide on its screen.
class WaylandSession {
public:
    WaylandSession(Compositor compositor, const QSize &size, double scale, bool xwayland,
                   const Environment &environment);
    ~WaylandSession();

    // Of programs that are to run on it: WAYLAND_DISPLAY, and KWin's session bus.
    Environment variables() const;
    WaylandClient &client() { return *m_client; }
    QImage grab(bool withCursor = false);
    void kill();
    pid_t pid() const { return m_process->pid(); }
    std::string err() const { return m_process->err(); }

    // What swaymsg tells sway, such as {"output", "*", "disable"}; throws if it refuses.
    std::string tell(const Command &command) const;

private:
    QImage grabFromKWin(bool withCursor) const;
    std::string file(const std::string &name) const;
    std::string xDisplay() const;
    QString busName() const { return m_folder.path(); } // Each session has its own.

    const Compositor m_compositor;
    const bool m_xwayland;
    QTemporaryDir m_folder; // The compositor's user's.
    Environment m_environment;
    std::optional<ChildProcess> m_bus;
    std::optional<ChildProcess> m_process;
    std::unique_ptr<WaylandClient> m_client;
};

} // namespace companion::rig
