// The icon in trays of both kinds that are there, come late, or come back.
#include "e2e/SessionBus.h"
#include "e2e/SettingsDesk.h"

#include <gtest/gtest.h>

#include <csignal>

namespace companion::rig {
namespace {

constexpr auto kNoTray = "no tray shows status icons so far: \"presenter-companion --settings\" opens the "
                         "settings, \"presenter-companion --quit\" ends the program";

constexpr auto kIcon = "item "; // As the panel reports one.

// A panel with a StatusNotifier tray, as programs see it. Ready when the constructor returns.
class Panel {
public:
    Panel(const SessionBus &bus, Command options = {"--host"})
        : m_process((options.insert(options.begin(), COMPANION_STATUS_NOTIFIER_HOST), options),
                    bus.environment(), true) {
        waitFor("ready");
    }
    void waitFor(const std::string &text) const {
        waitUntil("\"" + text + "\" of the panel", [&] { return has(text); });
    }
    bool has(const std::string &text) const { return m_process.out().find(text) != std::string::npos; }
    void addHost() { m_process.write("\n"); }

private:
    ChildProcess m_process;
};

TEST(StatusNotifierTray, GetsTheIconHoweverLateItsWatcherAndThenItsHostComeAndAfterARestart) {
    const Desktop desktop({.size = {1024, 768}, .compositor = false});
    const SessionBus bus(desktop);
    CompanionProcess companion(
        desktop, CompanionProcess::Options{.settings = kEnglish, .environment = bus.environment()});
    companion.waitForLog(kNoTray);
    {
        Panel panel(bus, {});
        letTimePass(500ms);
        EXPECT_FALSE(panel.has(kIcon)) << "an icon that is made now would never be shown";
        panel.addHost();
        panel.waitFor(kIcon);
    }
    const Panel again(bus);
    again.waitFor(kIcon);
    EXPECT_EQ(companion.logCount(kNoTray), 1);
}

TEST(StoppedSessionBus, KeepsNobodyWaitingNeitherLaterNorAtTheStart) {
    const Desktop desktop({.size = {1024, 768}, .compositor = false});
    SessionBus bus(desktop);
    const CompanionProcess::Options options{.settings = kEnglish, .environment = bus.environment()};
    {
        const Panel panel(bus);
        CompanionProcess companion(desktop, options);
        panel.waitFor(kIcon);
        bus.stop();
        const Ended settings = runCompanion({"--settings"}, bus.environment());
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
