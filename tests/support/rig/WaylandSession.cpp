#include "support/rig/WaylandSession.h"

#include "platform/dbus/PixelPipe.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace companion::rig {
namespace {

constexpr uid_t kNobody = 65534;

// Sway does not run for root, and runtime folders belong to those who use them.
Command asOrdinaryUser(Command command) {
    if (geteuid() == 0)
        command.insert(command.begin(), {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
    return command;
}

void giveToOrdinaryUser(const std::filesystem::path &path) {
    if (chown(path.c_str(), kNobody, kNobody) != 0)
        throw std::runtime_error("cannot give away " + path.string());
}

std::string number(double value) {
    return QString::number(value).toStdString();
}

} // namespace

WaylandSession::WaylandSession(Compositor compositor, const QSize &size, double scale, bool xwayland,
                               const Environment &environment)
    : m_compositor(compositor),
      m_xwayland(xwayland),
      m_environment(environment) {
    m_environment["XDG_RUNTIME_DIR"] = m_environment["HOME"] = m_folder.path().toStdString();
    m_environment.erase("XDG_CONFIG_HOME");
    m_environment.erase("XDG_CACHE_HOME");
    m_environment.erase("XDG_DATA_HOME");
    Command command;
    if (compositor == Compositor::Sway) {
        std::ofstream(file("config"))
            << "output * mode " << size.width() << "x" << size.height() << "\noutput * scale " << scale
            << "\n"
            << (xwayland ? "exec xhost +local: && echo $DISPLAY >" + file("display") : "xwayland disable")
            << "\n";
        m_environment.merge(Environment{
            {"WLR_BACKENDS", "headless"}, {"WLR_RENDERER", "pixman"}, {"WLR_LIBINPUT_NO_DEVICES", "1"}});
        command = {"sway", "-c", file("config")};
    } else {
        m_environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + file("bus");
        m_bus.emplace(Command{"dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address",
                              "--address=unix:path=" + file("bus")},
                      m_environment);
        waitUntil("a session bus", [this] { return !m_bus->out().empty(); });
        m_environment.merge(Environment{{"KWIN_COMPOSE", "O2"},
                                        {"KWIN_WAYLAND_NO_PERMISSION_CHECKS", "1"},
                                        {"KWIN_SCREENSHOT_NO_PERMISSION_CHECKS", "1"}});
        // A copy has not the capabilities of the file, which not every sandbox can give.
        std::filesystem::copy_file("/usr/bin/kwin_wayland", file("kwin_wayland"));
        const QSize points = (QSizeF(size) / scale).toSize(); // What it counts in.
        command = {file("kwin_wayland"),
                   "--virtual",
                   "--width",
                   std::to_string(points.width()),
                   "--height",
                   std::to_string(points.height()),
                   "--scale",
                   number(scale),
                   "--no-lockscreen",
                   "--no-global-shortcuts",
                   "--socket",
                   "wayland-1"};
    }
    if (compositor == Compositor::Sway && geteuid() == 0) {
        for (const auto &each : std::filesystem::directory_iterator(file(".")))
            giveToOrdinaryUser(each.path());
        giveToOrdinaryUser(file("."));
    }
    m_process.emplace(compositor == Compositor::Sway ? asOrdinaryUser(command) : command, m_environment);
    waitUntil("a compositor", [this, scale] {
        if (!m_process->running())
            throw std::runtime_error("the compositor ended: " + m_process->err());
        try {
            m_client = std::make_unique<WaylandClient>(file("wayland-1"), scale);
        } catch (const std::runtime_error &) {
            return false;
        }
        return m_client->size().isValid();
    });
    waitUntil("the X server's name", [this] { return !m_xwayland || !xDisplay().empty(); });
    if (m_bus)
        QDBusConnection::connectToBus(QString::fromStdString(m_environment["DBUS_SESSION_BUS_ADDRESS"]),
                                      busName());
}

WaylandSession::~WaylandSession() {
    m_client.reset();
    m_process.reset();
    if (m_bus)
        QDBusConnection::disconnectFromBus(busName());
}

std::string WaylandSession::file(const std::string &name) const {
    return m_folder.filePath(QString::fromStdString(name)).toStdString();
}

// Known once it lets the tests in, which may be another user's.
std::string WaylandSession::xDisplay() const {
    std::string name;
    std::ifstream(file("display")) >> name;
    return name;
}

Environment WaylandSession::variables() const {
    Environment variables{{"WAYLAND_DISPLAY", file("wayland-1")}};
    if (m_xwayland)
        variables["DISPLAY"] = xDisplay();
    if (m_bus)
        variables["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + file("bus");
    return variables;
}

void WaylandSession::kill() {
    m_process->signal(SIGKILL);
}

QImage WaylandSession::grab(bool withCursor) {
    return m_compositor == Compositor::KWin ? grabFromKWin(withCursor) : m_client->picture(withCursor);
}

QImage WaylandSession::grabFromKWin(bool withCursor) const {
    const QString interface = QStringLiteral("org.kde.KWin.ScreenShot2");
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.kde.KWin"),
                                                       QStringLiteral("/org/kde/KWin/ScreenShot2"), interface,
                                                       QStringLiteral("CaptureScreen"));
    PixelPipe pipe;
    pipe.open();
    call << QStringLiteral("Virtual-0")
         << QVariantMap{{QStringLiteral("include-cursor"), withCursor},
                        {QStringLiteral("native-resolution"), true}}
         << QVariant::fromValue(QDBusUnixFileDescriptor(pipe.writersEnd().get()));
    const QDBusReply<QVariantMap> reply = QDBusConnection(busName()).call(call);
    pipe.closeWritersEnd();
    const QVariantMap told = reply.value();
    const auto count = [&told](const char *name) { return told.value(QLatin1String(name)).toInt(); };
    bool done = false;
    bool complete = false;
    pipe.read({count("width"), count("height")}, count("stride"),
              static_cast<QImage::Format>(count("format")), [&](bool all) {
                  done = true;
                  complete = all;
              });
    waitUntil("KWin's picture", [&] { return QCoreApplication::processEvents(), done; });
    if (!complete)
        throw std::runtime_error("the screen could not be read: " + reply.error().message().toStdString());
    return pipe.picture();
}

std::string WaylandSession::tell(const Command &command) const {
    Environment environment = m_environment;
    for (const auto &each : std::filesystem::directory_iterator(file(".")))
        if (each.path().filename().string().starts_with("sway-ipc"))
            environment["SWAYSOCK"] = each.path();
    Command all{"swaymsg", "--"};
    all.insert(all.end(), command.begin(), command.end());
    const Ended ended = runToEnd(all, environment);
    if (ended.status != 0)
        throw std::runtime_error("sway refused: " + ended.out + ended.err);
    return ended.out;
}

} // namespace companion::rig
