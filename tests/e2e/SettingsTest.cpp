// The tray's menu and the settings window, as somebody with a mouse and a keyboard meets them.
#include "e2e/SettingsDesk.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace companion::rig {
namespace {

using enum SettingsDesk::Entry;

TEST(TrayMenu, VersionDoesNothingAndQuitEndsTheProgramAndLeavesNothingOnTheScreen) {
    SettingsDesk desk(kEnglish);
    const QImage before = desk.screen.grab(kHint);
    desk.choose(Version, 1);
    letTimePass(300ms);
    desk.hand.tapKey(kKeyEscape); // The menu stays open: the entry cannot be chosen.
    EXPECT_TRUE(desk.windows().empty());
    EXPECT_TRUE(desk.companion.process().running());

    desk.companion.pressOnce("01");
    desk.screen.waitFor("the hint", kHint, [&](const QImage &image) { return image != before; });
    desk.open();
    desk.choose(Quit);
    EXPECT_EQ(desk.companion.process().waitForExit(), 0);
    desk.screen.waitFor("no hint", kHint, [&](const QImage &image) { return image == before; });
    EXPECT_TRUE(desk.windows().empty());
}

TEST(SettingsWindow, OpensInTheMiddleWithTheKeyboardAndFreshEachTime) {
    SettingsDesk desk(kEnglish);
    const auto window = desk.open();
    const QPoint off = desk.areaOf(desk.frameOf(window)).center() - desk.desktop.centre();
    EXPECT_LE(std::max(std::abs(off.x()), std::abs(off.y())), 16);
    EXPECT_EQ(desk.desktop.connection().property(window, "_NET_WM_NAME"), " ") << "no text in its title bar";
    desk.hand.tapKey(kKeyRight); // From the mode that is on.
    desk.hand.tapKey(kKeySpace);
    desk.expectStored("LOCAL_MOUSETYPE", "1");

    // The effect key closes it, with another one and a colour dialog, too.
    desk.click(control::kBackColor);
    desk.awaitDialog();
    desk.open();
    EXPECT_EQ(desk.windows().size(), 3U);
    desk.companion.effectOn();
    waitUntil("no window", [&] { return desk.windows().empty(); });
    desk.companion.effectOff();

    desk.open();
    desk.hand.tapKey(kKeyLeft);
    desk.hand.tapKey(kKeySpace);
    desk.expectStored("LOCAL_MOUSETYPE", "0");
    desk.hand.tapKey(kKeyEscape);
    waitUntil("no window", [&] { return desk.windows().empty(); });
}

TEST(SettingsWindow, StaysAboveTheOverlayWhateverTheWindowManagerDoes) {
    SettingsDesk desk(kEnglish);
    TestWindow other(desk.desktop, TestWindow::Kind::Managed, qRgb(255, 255, 255), {100, 400, 320, 300});
    const QImage bare = desk.screen.settled().copy(kHint);
    const auto window = desk.open();
    desk.moveTo(window, {200, 0}); // To where the hint comes.
    const QImage unhinted = desk.screen.settled().copy(kHint);
    desk.companion.pressOnce("02"); // The size alone: nothing in the window changes.
    desk.expectOverlayBelow(window);
    letTimePass(200ms);
    EXPECT_EQ(desk.screen.grab(kHint), unhinted);

    other.raise();
    desk.companion.pressOnce("02");
    desk.expectOverlayBelow(window);
    desk.hand.clickAt(desk.areaOf(window).center() + QPoint(0, 20));
    desk.hand.tapKey(kKeyEscape);
    desk.screen.waitFor("the hint above all", kHint, [&](const QImage &image) {
        return image.pixel(10, 26) != bare.pixel(10, 26) && image.pixel(10, 26) != unhinted.pixel(10, 26);
    });
    waitUntil("the overlay on top of all", [&] { return desk.stack().back() == desk.overlay(); });
}

TEST(SettingsPresence, PanelComesWithThePullAndGoesWithThePlug) {
    SettingsDesk desk(kEnglish);
    const auto window = desk.open();
    const QRect area = desk.areaOf(window);
    const QImage there = desk.screen.settled().copy(area);
    desk.companion.receiver("unplug");
    desk.screen.waitFor("the panel", area, [](const QImage &image) {
        return sameColour(image.pixel(control::kModes[0].at), kSettingsColour) &&
               sameColour(image.pixel(control::kSetTime.at), kSettingsColour);
    });
    desk.companion.receiver("plug");
    desk.companion.receiver("wait-get 5 10000");
    desk.screen.waitFor("the controls", area, [&](const QImage &image) { return image == there; });
}

} // namespace
} // namespace companion::rig
