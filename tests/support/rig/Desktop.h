#pragma once

#include "support/rig/ChildProcess.h"
#include "support/rig/WaylandSession.h"
#include "support/rig/XConnection.h"

#include <QRect>
#include <QSize>
#include <QTemporaryDir>

#include <optional>

namespace companion::rig {

struct WindowManager {
    Command command{"openbox", "--sm-disable"};
    bool composites = false; // It blends windows itself.
};

struct DesktopOptions {
    QSize size{1024, 768};
    bool windowManager = true;
    bool compositor = true; // picom.
    Command serverOptions{};
    std::vector<QRect> monitors{}; // Parts of the screen, the main one first; none: one monitor is all of it.
    WindowManager manager{};
    std::string compositorSettings{};      // picom's.
    Compositor wayland = Compositor::None; // Instead of all that is said of X.
    double scale = 1;                      // Then.
    bool xwayland = false;                 // Sway's, which takes X clients.
};

// A virtual screen for one test, with an empty home folder and no D-Bus: an X server with a window manager
// and a compositor unless told otherwise, or a Wayland compositor. Ready when the constructor returns.
class Desktop {
public:
    explicit Desktop(const DesktopOptions &options = {});

    const std::string &display() const { return m_display; }    // Empty on Wayland.
    WaylandSession *wayland() const { return m_wayland.get(); } // Null on X.
    // For programs that are to run on this desktop.
    const Environment &environment() const { return m_environment; }
    // A path in the desktop's own folder, which goes with the desktop.
    std::string file(const std::string &name) const;
    // What the server shows, the cursor included, as an XWD picture.
    std::string frameBufferFile() const { return file("Xvfb_screen0"); }

    const XConnection &connection() const { return *m_connection; }
    QSize size() const { return m_wayland ? m_wayland->client().size() : m_connection->screenSize(); }
    QPoint centre() const { return {size().width() / 2, size().height() / 2}; }

    // For what they cost.
    pid_t serverPid() const { return m_server->pid(); }
    pid_t compositorPid() const { return m_wayland ? m_wayland->pid() : m_compositor->pid(); }

    void startWindowManager();
    void startCompositor();
    void stopCompositor(); // With SIGKILL, as a crash would.

    void stopServer(); // With SIGKILL, too.

    // Once to each size, and not larger than what it started with.
    void setSize(const QSize &size);
    // Instead of those set before; named part0, part1 and so on.
    void setMonitors(const std::vector<QRect> &monitors);
    // A program on this desktop, to its end; throws if it fails.
    void run(const Command &command) const;

private:
    void awaitCompositor();

    DesktopOptions m_options;
    QTemporaryDir m_folder;
    Environment m_environment;
    std::string m_display;
    std::optional<ChildProcess> m_server;
    std::optional<XConnection> m_connection;
    std::optional<ChildProcess> m_windowManager;
    std::optional<ChildProcess> m_compositor;
    std::unique_ptr<WaylandSession> m_wayland;
    int m_monitors = 0; // Set, not the server's own.
};

} // namespace companion::rig
