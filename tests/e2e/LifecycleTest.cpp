// Ends, pulled receivers, compositors that come and go, screens that change.
#include "e2e/Talk.h"

#include <gtest/gtest.h>

#include <csignal>

namespace companion::rig {
namespace {

constexpr auto kOpaque =
    "no compositor runs: the desktop cannot be seen through the overlay, so the spotlight "
    "and all transparency are off; the laser dot is drawn opaque";

class Ending : public ::testing::TestWithParam<int> {};

TEST_P(Ending, LeavesScreenMouseAndCursorClean) {
    Talk talk(kSpotlight);
    talk.companion.effectOn();
    talk.expectSpotlight({200, 200});
    waitUntil("a hidden cursor", [&] { return !talk.screen.cursorVisible(); });
    const int number = GetParam();
    talk.companion.process().signal(number);
    EXPECT_EQ(talk.companion.process().waitForExit(), number == SIGKILL ? -SIGKILL : 0);
    talk.expectPlainSlide();
    talk.expectFree({210, 210});
    waitUntil("the cursor", [&] { return talk.screen.cursorVisible(); });
}

INSTANTIATE_TEST_SUITE_P(Signals, Ending, ::testing::Values(SIGTERM, SIGINT, SIGKILL),
                         [](const auto &number) { return std::string(sigabbrev_np(number.param)); });

// While the key is held, let go, or let go of a receiver that is back before the next poll.
TEST(PulledReceiver, EndsTheEffectAndWorksAgainWhenPluggedIn) {
    Talk talk(kSpotlight);
    for (const std::vector<std::string> &pull :
         {Command{"unplug", "event 00"}, {"event 00", "unplug"}, {"event 00", "replug 0"}}) {
        talk.companion.effectOn();
        const int clicks = talk.companion.input().clicks();
        talk.expectSpotlight({200, 200});
        for (const std::string &step : pull)
            talk.companion.receiver(step);
        EXPECT_LT(talk.expectPlainSlide(), kReleaseLimit);
        waitUntil("the click that ends the effect",
                  [&] { return talk.companion.input().clicks() == clicks + 1; });
        talk.expectFree({210, 210});
        talk.companion.receiver("plug");
        talk.companion.receiver("wait-get 2 10000");
    }
    talk.companion.effectOn();
    talk.expectSpotlight({300, 300});
    talk.companion.receiver("mode stall"); // Still there, but silent: the key counts as let go.
    EXPECT_LT(talk.expectPlainSlide(), kReleaseLimit);
}

TEST(Compositor, ThatComesAndGoesIsFollowedAndWithoutOneTheDesktopIsNeverBlackened) {
    Talk talk(kSpotlight, {.size = {800, 600}, .compositor = false});
    EXPECT_EQ(talk.companion.logCount(kOpaque), 1);
    talk.companion.effectOn();
    talk.hand.move({230, 210});
    talk.expectLookStays("a slide without a spotlight", plainLook(kSlideColour), 150ms);
    talk.companion.effectOff();

    talk.desktop.startCompositor();
    talk.companion.effectOn();
    talk.expectSpotlight({200, 200});
    talk.desktop.stopCompositor(); // In the middle of the effect.
    talk.expectPlainSlide();
    EXPECT_EQ(talk.companion.logCount(kOpaque), 2);
    talk.companion.effectOff();
    talk.expectFree({230, 210});

    talk.desktop.startCompositor();
    talk.companion.effectOn();
    talk.expectSpotlight({300, 200});
    EXPECT_EQ(talk.companion.logCount("a compositor runs again: the overlay is translucent"), 2);
    talk.companion.effectOff();
    talk.expectPlainSlide();
}

TEST(WithoutCompositor, TheLaserDotIsOpaqueAndHasNoRim) {
    Talk talk(kLaser, {.size = {800, 600}, .compositor = false});
    const QRgb red = qRgb(255, 0, 0);
    talk.companion.effectOn();
    for (const QPoint place : {QPoint(200, 200), {230, 210}}) {
        talk.hand.move(place);
        const Look dot = discLook(Disc(place, 100), red, kSlideColour);
        talk.expectLook("an opaque dot", [&](int x, int y, QRgb seen) {
            return dot(x, y, seen) && (sameColour(seen, red) || sameColour(seen, kSlideColour));
        });
    }
    talk.companion.effectOff();
    talk.expectPlainSlide();
    talk.expectFree({230, 210});
}

} // namespace
} // namespace companion::rig
