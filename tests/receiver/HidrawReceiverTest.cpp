// The receiver link as a whole: the real program over the real USB libraries.
#include "support/rig/Desktop.h"
#include "support/rig/HidrawRig.h"
#include "support/rig/Screen.h"
#include "support/rig/TestWindow.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace companion::rig {
namespace {

// A code that means nothing: it is logged at each poll and does nothing else.
const std::string kPolled = "获得数据 12,20, 0, 0";

milliseconds medianGap(const std::vector<milliseconds> &times) {
    std::vector<milliseconds> gaps;
    for (std::size_t i = 1; i < times.size(); ++i)
        gaps.push_back(times[i] - times[i - 1]);
    std::nth_element(gaps.begin(), gaps.begin() + static_cast<std::ptrdiff_t>(gaps.size() / 2), gaps.end());
    return gaps[gaps.size() / 2];
}

std::size_t countOf(const HidrawRig &rig, const std::string &text) {
    const auto lines = rig.log();
    return static_cast<std::size_t>(
        std::count_if(lines.begin(), lines.end(), [&](const auto &line) { return line.text == text; }));
}

TEST(HidrawReceiverTest, AReceiverIsPolledTenTimesASecond) {
    HidrawRig rig;
    rig.device.setEvent({0x20});
    EXPECT_NEAR(double(medianGap(rig.timesOf(kPolled, 21)).count()), 100, 10);
    rig.device.setEvent({0x00});
    rig.waitForReads(2);
    const std::size_t logged = rig.log().size();
    rig.waitForReads(3);
    EXPECT_EQ(rig.log().size(), logged) << "no key, no line";
}

TEST(HidrawReceiverTest, TheEffectFollowsTheKeyAndEndsWithAPulledReceiver) {
    const Desktop desktop({.size = {640, 480}});
    const Screen screen(desktop);
    const QRgb colour = qRgb(0x33, 0x66, 0x99);
    const TestWindow slide(desktop, TestWindow::Kind::FullScreen, colour);
    HidrawRig rig(desktop.environment());
    rig.waitForReads(2);
    rig.device.once({0x01}); // From plain to the spotlight, which dims all else.
    rig.waitForReads(2);
    rig.device.setEvent({0x10});
    const auto dimmed = [&](const QImage &picture) { return !sameColour(picture.pixel(0, 0), colour); };
    screen.waitFor("a dimmed corner", {5, 100, 1, 1}, dimmed);
    rig.device.unplug();
    screen.waitForPixel({5, 100}, colour, 2s);
}

TEST(HidrawReceiverTest, TheInterfaceThatAnswersIsFoundBehindAKeyboard) {
    using enum HidrawDevice::Interface;
    for (const auto &interfaces : {std::vector{Keyboard, Vendor}, std::vector{Keyboard, Keyboard, Vendor}}) {
        HidrawRig rig({}, interfaces);
        rig.device.setEvent({0x20});
        rig.timesOf(kPolled, 3);
        rig.replug();
        rig.timesOf(kPolled, 3, countOf(rig, kPolled));
    }
}

TEST(HidrawReceiverTest, APullInTheMiddleOfAReadEndsTheReadAndTheLinkComesBack) {
    HidrawRig rig;
    rig.device.setEvent({0x20});
    rig.timesOf(kPolled, 2);
    rig.device.setDelay(5100ms); // As the kernel waits for a device that keeps silent.
    rig.waitForReads(1);
    rig.device.unplug();
    rig.device.setDelay(0ms);
    const auto pulled = std::chrono::steady_clock::now();
    rig.device.plug();
    rig.timesOf(kPolled, 2, countOf(rig, kPolled));
    EXPECT_LT(std::chrono::steady_clock::now() - pulled, 3s);
}

TEST(HidrawReceiverTest, ANodeThatCannotBeOpenedYetIsTriedAgainInSilence) {
    HidrawRig rig({}, {HidrawDevice::Interface::Vendor}, false);
    rig.device.setReachable(false);
    rig.device.plug();
    rig.device.setEvent({0x20});
    rig.timesOf("viewDidAppear", 1);
    letTimePass(1200ms);
    EXPECT_EQ(rig.reads(), 0);
    EXPECT_EQ(rig.log().back().text, "viewDidAppear");
    rig.device.setReachable(true);
    rig.timesOf(kPolled, 2);
}

} // namespace
} // namespace companion::rig
