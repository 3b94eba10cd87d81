// Ends, pulled receivers, compositors that come and go, screens that change.
#include "e2e/Talk.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

namespace companion::rig {
namespace {

constexpr auto kStill = "no compositor runs: the desktop around an effect is a still picture";
constexpr QRgb kNextSlide = qRgb(0x90, 0x50, 0x20);

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

INSTANTIATE_TEST_SUITE_P(Signals, Ending, ::testing::Values(SIGTERM, SIGINT, SIGHUP, SIGKILL),
                         [](const auto &number) { return std::string(sigabbrev_np(number.param)); });

TEST(SilentReceiver, KeepsNobodyFromEndingTheProgramInMidEffect) {
    for (const bool bySignal : {true, false}) {
        Talk talk(kSpotlight);
        talk.companion.effectOn();
        talk.companion.receiver("delay 60000");
        letTimePass(300ms); // Long enough for the next poll.
        if (bySignal) {
            talk.companion.process().signal(SIGTERM);
        } else {
            const Ended quit = runCompanion({"--quit"}, talk.desktop.environment());
            EXPECT_EQ(quit.status, 0) << quit.err;
            EXPECT_EQ(quit.out, "presenter-companion has ended\n");
        }
        EXPECT_EQ(talk.companion.process().waitForExit(), 0);
        talk.expectPlainSlide();
        for (const char *name : {"run/presenter-companion/control", "receiver"})
            EXPECT_FALSE(std::filesystem::exists(talk.desktop.file(name))) << name;
    }
}

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

// Without one, the slide is live inside the disc alone.
TEST(Compositor, ThatComesAndGoesIsFollowedInMidEffectAndWithoutOneTheSpotlightHasALiveHole) {
    Talk talk(kSpotlight, {.size = {800, 600}, .compositor = false});
    EXPECT_EQ(talk.companion.logCount(kStill), 1);
    talk.companion.effectOn();
    talk.expectSpotlight({200, 200});
    QImage next(1, 1, QImage::Format_RGB32);
    next.fill(kNextSlide);
    talk.slide.setPicture(next);
    const Disc hole({200, 200}, 100); // Its rim is the still's.
    talk.expectLook("the next slide in the hole", [&](int x, int y, QRgb seen) {
        const double beyond = hole.distance(x, y) - hole.radius();
        return std::abs(beyond) < 2 || sameColour(seen, beyond < 0 || y < kFreeRows ? kNextSlide : kDimmed);
    });
    next.fill(kSlideColour);
    talk.slide.setPicture(next);

    talk.desktop.startCompositor();
    talk.expectSpotlight({230, 210});
    talk.companion.effectOff();
    talk.expectFree({230, 210});
    talk.companion.effectOn();
    talk.expectSpotlight({300, 200});
    talk.desktop.stopCompositor();
    talk.expectSpotlight({260, 240});
    EXPECT_EQ(talk.companion.logCount(kStill), 2);
    EXPECT_EQ(talk.companion.logCount("a compositor runs again: the overlay is translucent"), 1);
    talk.companion.effectOff();
    talk.expectPlainSlide();
    talk.expectFree({230, 210});
}

} // namespace
} // namespace companion::rig
