// The icon in trays of both kinds that are there, come late, or come back.
#include "e2e/SettingsDesk.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>

namespace companion::rig {
namespace {

constexpr auto kNoTray = "no tray shows status icons so far: \"presenter-companion --settings\" opens the "
                         "settings, \"presenter-companion --quit\" ends the program";

// A session bus of its own for one desktop.
class Bus {
public:
    explicit Bus(const Desktop &desktop)
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

// A panel with a StatusNotifier tray, as programs see it. Ready when the constructor returns.
class Panel {
public:
    Panel(const Bus &bus, Command options = {"--host"})
        : m_process((options.insert(options.begin(), COMPANION_STATUS_NOTIFIER_HOST), options),
                    bus.environment(), true) {
        waitForLine("ready");
    }
    void waitForIcon() const { waitForLine("item "); }
    bool hasIcon() const { return m_process.out().find("item ") != std::string::npos; }
    void addHost() { m_process.write("\n"); }

private:
    void waitForLine(const std::string &text) const {
        waitUntil("\"" + text + "\" of the panel",
                  [&] { return m_process.out().find(text) != std::string::npos; });
    }
    ChildProcess m_process;
};

TEST(StatusNotifierTray, GetsTheIconHoweverLateItsWatcherAndThenItsHostComeAndAfterARestart) {
    const Desktop desktop({.size = {1024, 768}, .compositor = false});
    const Bus bus(desktop);
    CompanionProcess companion(
        desktop, CompanionProcess::Options{.settings = kEnglish, .environment = bus.environment()});
    companion.waitForLog(kNoTray);
    {
        Panel panel(bus, {});
        letTimePass(500ms);
        EXPECT_FALSE(panel.hasIcon()) << "an icon that is made now would never be shown";
        panel.addHost();
        panel.waitForIcon();
    }
    const Panel again(bus);
    again.waitForIcon();
    EXPECT_EQ(companion.logCount(kNoTray), 1);
}

TEST(WithoutSessionBus, NoneIsStarted) {
    const Desktop desktop({.size = {800, 600}, .compositor = false});
    std::filesystem::create_directory(desktop.file("bin"));
    std::ofstream(desktop.file("bin/dbus-launch")) << "#!/bin/sh\n: > '" << desktop.file("launched") << "'\n";
    std::filesystem::permissions(desktop.file("bin/dbus-launch"), std::filesystem::perms::owner_all);
    Environment environment = desktop.environment();
    environment.erase("DBUS_SESSION_BUS_ADDRESS");
    environment["PATH"] = desktop.file("bin") + ":" + environment["PATH"];
    ChildProcess program({companionProgram(), "--virtual-receiver"}, environment);
    program.waitForError(kNoTray);
    EXPECT_FALSE(std::filesystem::exists(desktop.file("launched")));
}

TEST(StoppedSessionBus, KeepsNobodyWaitingNeitherLaterNorAtTheStart) {
    const Desktop desktop({.size = {1024, 768}, .compositor = false});
    Bus bus(desktop);
    const CompanionProcess::Options options{.settings = kEnglish, .environment = bus.environment()};
    {
        const Panel panel(bus);
        CompanionProcess companion(desktop, options);
        panel.waitForIcon();
        bus.stop();
        const Ended settings = runToEnd({companionProgram(), "--settings"}, bus.environment());
        EXPECT_EQ(settings.status, 0) << settings.err;
        companion.effectOn();
        companion.effectOff();
    }
    CompanionProcess companion(desktop, options);
    companion.waitForLog("the session bus does not answer: no tray icon through it");
    companion.effectOn();
    companion.effectOff();
}

TEST(XEmbedTray, GetsTheIconWhenItComesLateAndWhenItComesBack) {
    SettingsDesk desk({.settings = kEnglish}, {}, true);
    desk.tray->process.signal(SIGKILL);
    desk.tray.reset();
    waitUntil("the icon to go with its tray", [&] { return desk.trayIcon() == XCB_WINDOW_NONE; });
    desk.tray.emplace(desk.desktop);
    waitUntil("the icon in a new tray", [&] { return desk.trayIcon() != XCB_WINDOW_NONE; });
    desk.open();
    EXPECT_EQ(desk.companion.logCount(kNoTray), 0);
}

} // namespace
} // namespace companion::rig
