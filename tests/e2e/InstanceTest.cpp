// A second start while the program runs, and the two wishes that a running program is told from a terminal.
#include "e2e/SettingsDesk.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

namespace companion::rig {
namespace {

using Clock = std::chrono::steady_clock;

std::string controlSocket(const Desktop &desktop) {
    return desktop.file("run/presenter-companion/control");
}

TEST(SecondStart, ShowsTheSettingsOfTheFirstSaysWhatCameOfItAndEndsThere) {
    SettingsDesk desk(kEnglish);
    EXPECT_TRUE(desk.windows().empty());
    const Ended shown = runCompanion({}, desk.desktop.environment());
    EXPECT_EQ(shown.status, 0);
    EXPECT_EQ(shown.out, "presenter-companion runs already; it shows its settings\n");
    EXPECT_EQ(desk.windows().size(), 1U);

    Environment elsewhere = desk.desktop.environment(); // As from a remote shell.
    elsewhere.erase("DISPLAY");
    EXPECT_EQ(runCompanion({"--settings"}, elsewhere).status, 0);
    letTimePass(300ms);
    EXPECT_EQ(desk.windows().size(), 1U) << "the open window is shown again, not a second one";
    {
        const TestWindow cover(desk.desktop, TestWindow::Kind::OverrideRedirect, qRgb(90, 90, 90),
                               QRect(QPoint(), desk.desktop.size()));
        const Ended hidden = runCompanion({"--settings"}, elsewhere);
        EXPECT_EQ(hidden.status, 1);
        EXPECT_NE(hidden.err.find("another window covers them"), std::string::npos) << hidden.err;
    }

    EXPECT_EQ(runCompanion({"--quit"}, elsewhere).status, 0);
    EXPECT_EQ(desk.companion.process().waitForExit(), 0);
    EXPECT_FALSE(std::filesystem::exists(controlSocket(desk.desktop)));
    const Ended none = runCompanion({"--quit"}, elsewhere);
    EXPECT_EQ(none.status, 0);
    EXPECT_EQ(none.out, "presenter-companion does not run\n");
}

TEST(SecondStart, SaysWithinTwoSecondsThatTheFirstHangsAndReplacesOneThatWasKilled) {
    const Desktop desktop({.size = {800, 600}, .compositor = false});
    CompanionProcess first(desktop, Settings{});
    first.process().signal(SIGSTOP);
    for (const Command &arguments : {Command{}, {"--settings"}, {"--quit"}}) {
        const auto before = Clock::now();
        const Ended second = runCompanion(arguments, desktop.environment());
        EXPECT_LT(Clock::now() - before, 2s);
        EXPECT_EQ(second.status, 1);
        EXPECT_NE(second.err.find("process " + std::to_string(first.process().pid())), std::string::npos)
            << second.err;
    }
    first.process().signal(SIGKILL);
    first.process().waitForExit();
    EXPECT_TRUE(std::filesystem::exists(controlSocket(desktop)));
    CompanionProcess next(desktop, Settings{});
    EXPECT_EQ(runCompanion({"--quit"}, desktop.environment()).status, 0);
    EXPECT_EQ(next.process().waitForExit(), 0);
}

TEST(SettingsOption, OpensTheWindowWithTheStartWhenNothingRuns) {
    SettingsDesk desk({.settings = kEnglish, .arguments = {"--settings"}}, {});
    waitUntil("the settings window", [&] { return desk.windows().size() == 1; });
}

} // namespace
} // namespace companion::rig
