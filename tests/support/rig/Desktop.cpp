#include "support/rig/Desktop.h"

#include <csignal>
#include <filesystem>
#include <fstream>

namespace companion::rig {
namespace {

constexpr const char *kCompositorSelection = "_NET_WM_CM_S0";

std::string dimensions(const QSize &size) {
    return std::to_string(size.width()) + "x" + std::to_string(size.height());
}

// A window manager that has only just announced itself can lose the first windows. Shows it a small one for a
// short while.
bool managesProbe(const XConnection &connection) {
    const xcb_window_t probe = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, probe, connection.root(), 0, 0, 10, 10, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_map_window(connection, probe);
    bool managed = false;
    for (int i = 0; i < 50 && !managed; ++i) {
        letTimePass(2ms);
        managed = !connection.property(probe, "WM_STATE").empty();
    }
    xcb_destroy_window(connection, probe);
    connection.sync();
    return managed;
}

} // namespace

Desktop::Desktop(const DesktopOptions &options) : m_options(options), m_environment(inheritedEnvironment()) {
    for (const auto &[variable, folder] : {std::pair{"HOME", "home"},
                                           {"XDG_CONFIG_HOME", "config"},
                                           {"XDG_CACHE_HOME", "cache"},
                                           {"XDG_DATA_HOME", "data"},
                                           {"XDG_RUNTIME_DIR", "run"}}) {
        std::filesystem::create_directory(file(folder));
        std::filesystem::permissions(file(folder), std::filesystem::perms::owner_all);
        m_environment[variable] = file(folder);
    }
    m_environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + file("no-bus"); // Refused at once.

    if (options.wayland != Compositor::None) {
        m_wayland = std::make_unique<WaylandSession>(options.wayland, options.size, options.scale,
                                                     options.xwayland, m_environment);
        for (const auto &[key, value] : m_wayland->variables())
            m_environment[key] = value;
        return;
    }
    // The server picks a free number itself and tells it; -noreset keeps it after its last client left.
    Command server{"Xvfb", "-displayfd", "1", "-noreset", "-fbdir", file(".")};
    server.insert(server.end(), {"-screen", "0", dimensions(options.size) + "x24"});
    server.insert(server.end(), options.serverOptions.begin(), options.serverOptions.end());
    m_server.emplace(server, m_environment);
    waitUntil("the number of a new X server", [this] {
        if (!m_server->running())
            throw std::runtime_error("Xvfb ended: " + m_server->err());
        return m_server->out().find('\n') != std::string::npos;
    });
    m_display = ":" + m_server->out().substr(0, m_server->out().find('\n'));
    m_environment["DISPLAY"] = m_display;
    m_connection.emplace(m_display);
    setMonitors(options.monitors);
    if (options.windowManager)
        startWindowManager();
    if (options.compositor)
        startCompositor();
}

std::string Desktop::file(const std::string &name) const {
    return m_folder.filePath(QString::fromStdString(name)).toStdString();
}

void Desktop::startWindowManager() {
    m_windowManager.emplace(m_options.manager.command, m_environment);
    waitUntil("the window manager", [this] {
        return m_connection->rootWindowProperty("_NET_SUPPORTING_WM_CHECK") != XCB_WINDOW_NONE;
    });
    waitUntil("a window manager that manages", [this] { return managesProbe(*m_connection); });
    if (m_options.manager.composites)
        awaitCompositor();
}

void Desktop::startCompositor() {
    std::ofstream(file("picom.conf")) << m_options.compositorSettings;
    m_compositor.emplace(Command{"picom", "--config", file("picom.conf"), "--backend", "xrender"},
                         m_environment);
    awaitCompositor();
}

void Desktop::awaitCompositor() {
    waitUntil("the compositor",
              [this] { return m_connection->selectionOwner(kCompositorSelection) != XCB_WINDOW_NONE; });
}

void Desktop::stopCompositor() {
    m_compositor->signal(SIGKILL);
    m_compositor.reset();
    waitUntil("the compositor's end",
              [this] { return m_connection->selectionOwner(kCompositorSelection) == XCB_WINDOW_NONE; });
}

void Desktop::stopServer() {
    if (m_wayland)
        return m_wayland->kill();
    m_server->signal(SIGKILL);
    m_server->waitForExit();
}

void Desktop::setSize(const QSize &size) {
    // The server knows only the size that it started with; any other mode has to be made first. The clock
    // rate and the blanking mean nothing to it.
    const std::string mode = dimensions(size);
    Command newMode{"xrandr", "--newmode", mode, "60"};
    for (const auto &[length, step] : {std::pair{size.width(), 8}, {size.height(), 2}})
        for (const int more : {0, step, 2 * step, 4 * step})
            newMode.push_back(std::to_string(length + more));
    run(newMode);
    run({"xrandr", "--addmode", "screen", mode});
    run({"xrandr", "--output", "screen", "--mode", mode});
    waitUntil("a screen of " + mode, [&] { return this->size() == size; });
}

void Desktop::setMonitors(const std::vector<QRect> &monitors) {
    const char *output = "screen"; // The server has this one only; further monitors have none.
    while (m_monitors > 0)         // The server refuses a name that is in use.
        run({"xrandr", "--delmonitor", "part" + std::to_string(--m_monitors)});
    int &number = m_monitors;
    for (const QRect &m : monitors) {
        const auto text = [](int value) { return std::to_string(value); };
        // Width and height are also given in millimetres; the star marks the main monitor.
        run({"xrandr", "--setmonitor", (number == 0 ? "*part" : "part") + text(number),
             text(m.width()) + "/100x" + text(m.height()) + "/100+" + text(m.x()) + "+" + text(m.y()),
             output});
        output = "none";
        ++number;
    }
}

void Desktop::run(const Command &command) const {
    if (const Ended ended = runToEnd(command, m_environment); ended.status != 0)
        throw std::runtime_error(command.front() + " failed: " + ended.err);
}

} // namespace companion::rig
