// The icon in trays of both kinds that are there, come late, or come back.
#include "e2e/SettingsDesk.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

namespace companion::rig {
namespace {

constexpr auto kNoTray = "no tray shows status icons so far: \"presenter-companion --settings\" opens the "
                         "settings, \"presenter-companion --quit\" ends the program";

// A session bus of its own for one desktop.
class Bus {
public:
    explicit Bus(const Desktop &desktop)
        : m_address("unix:path=" + desktop.file("bus")),
          m_daemon({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address",
                    "--address=" + m_address},
                   desktop.environment()) {
        waitUntil("a session bus", [this] { return !m_daemon.out().empty(); });
    }
    Environment environment() const { return {{"DBUS_SESSION_BUS_ADDRESS", m_address}}; }

private:
    std::string m_address;
    ChildProcess m_daemon;
};

// A panel with a StatusNotifier tray, as programs see it. Ready when the constructor returns.
class Panel {
public:
    Panel(const Bus &bus, const Desktop &desktop, bool withHost = true) {
        std::vector<std::string> command{COMPANION_STATUS_NOTIFIER_HOST};
        if (!withHost)
            command.emplace_back("--no-host");
        Environment environment = desktop.environment();
        for (const auto &[key, value] : bus.environment())
            environment[key] = value;
        m_process = std::make_unique<ChildProcess>(command, environment, true);
        waitForLine("ready");
    }

    void waitForIcon() const { waitForLine("item "); }
    bool hasIcon() const { return m_process->out().find("item ") != std::string::npos; }
    void tell(const std::string &command) { m_process->write(command + "\n"); }

    std::vector<std::string> menu() {
        tell("menu");
        waitForLine("end");
        std::vector<std::string> entries;
        std::istringstream lines(m_process->out());
        for (std::string line; std::getline(lines, line);)
            if (line.starts_with("entry "))
                entries.push_back(line.substr(line.find(' ', 6) + 1));
        return entries;
    }

    void click(const std::string &label) {
        const std::string out = m_process->out();
        const std::size_t end = out.find(" " + label + "\n");
        const std::size_t start = out.rfind("entry ", end) + 6;
        tell("click " + out.substr(start, end - start));
    }

private:
    void waitForLine(const std::string &text) const {
        waitUntil("\"" + text + "\" of the panel",
                  [&] { return m_process->out().find(text) != std::string::npos; });
    }
    std::unique_ptr<ChildProcess> m_process;
};

TEST(StatusNotifierTray, HasTheIconWithItsMenuAndAgainAfterThePanelsRestart) {
    const Desktop desktop({.size = {1024, 768}, .compositor = false});
    const Bus bus(desktop);
    auto panel = std::make_unique<Panel>(bus, desktop);
    CompanionProcess companion(
        desktop, CompanionProcess::Options{.settings = kEnglish, .environment = bus.environment()});
    const std::vector<std::string> labels{"Ver 1.0 (disabled)", "Setting", "Quit"};
    panel->waitForIcon();
    EXPECT_EQ(panel->menu(), labels);
    panel.reset();
    panel = std::make_unique<Panel>(bus, desktop);
    panel->waitForIcon();
    EXPECT_EQ(panel->menu(), labels);
    panel->click("Quit");
    EXPECT_EQ(companion.process().waitForExit(), 0);
}

TEST(StatusNotifierTray, GetsTheIconHoweverLateItsWatcherAndThenItsHostCome) {
    const Desktop desktop({.size = {1024, 768}, .compositor = false});
    const Bus bus(desktop);
    CompanionProcess companion(
        desktop, CompanionProcess::Options{.settings = kEnglish, .environment = bus.environment()});
    companion.waitForLog(kNoTray);
    Panel panel(bus, desktop, false);
    letTimePass(500ms);
    EXPECT_FALSE(panel.hasIcon()) << "an icon that is made now would never be shown";
    panel.tell("host");
    panel.waitForIcon();
    EXPECT_EQ(panel.menu().size(), 3U);
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
