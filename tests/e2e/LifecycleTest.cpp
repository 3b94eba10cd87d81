// Ends, pulled receivers, compositors that come and go, screens that change.
#include "e2e/Talk.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>

namespace companion::rig {
namespace {

constexpr QRgb kDimmed = qRgb(0x14, 0x29, 0x3D); // The slide under black at 0.6.
constexpr QRgb kDot = qRgb(0xFF, 0x00, 0x00);
constexpr auto kOpaque =
    "no compositor runs: the desktop cannot be seen through the overlay, so the spotlight "
    "and all transparency are off; the laser dot is drawn opaque";

Settings settingsFor(const char *type) {
    return {{"LOCAL_MOUSETYPE", type},
            {"LOCAL_MOUSESIZEVALUE", "100"},
            {"LOCAL_BACKALPHA", "0.6"},
            {"LOCAL_FRONTALPHA", "0.8"}};
}

Look spotlightAt(QPoint pointer) {
    return slideLook(Disc(pointer, 100), kSlideColour, kDimmed);
}

class Ending : public ::testing::TestWithParam<int> {};

TEST_P(Ending, LeavesScreenMouseAndCursorClean) {
    Talk talk(settingsFor("1"));
    talk.companion.effectOn();
    talk.hand.move({200, 200});
    talk.expectLook("a spotlight", spotlightAt({200, 200}));
    waitUntil("a hidden cursor", [&] { return !talk.screen.cursorVisible(); });
    const int number = GetParam();
    talk.companion.process().signal(number);
    EXPECT_EQ(talk.companion.process().waitForExit(), number == SIGKILL ? -SIGKILL : 0);
    talk.expectPlainSlide();
    talk.hand.clickAt({210, 210});
    waitUntil("a click below", [&] { return talk.slide.pressedAt({210, 210}); });
    waitUntil("the cursor", [&] { return talk.screen.cursorVisible(); });
}

INSTANTIATE_TEST_SUITE_P(Signals, Ending, ::testing::Values(SIGTERM, SIGINT, SIGKILL),
                         [](const auto &number) { return std::string(sigabbrev_np(number.param)); });

TEST(PulledReceiver, EndsTheEffectAndWorksAgainWhenPluggedIn) {
    Talk talk(settingsFor("1"));
    for (const std::string again : {"plug", "replug 0"}) {
        talk.companion.effectOn();
        const int clicks = talk.companion.input().clicks();
        talk.hand.move({200, 200});
        talk.expectLook("a spotlight", spotlightAt({200, 200}));
        talk.companion.receiver("event 00");
        talk.companion.receiver(again == "plug" ? "unplug" : again);
        EXPECT_LT(talk.expectPlainSlide(), kReleaseLimit);
        waitUntil("the click that ends the effect",
                  [&] { return talk.companion.input().clicks() == clicks + 1; });
        talk.hand.clickAt({210, 210});
        waitUntil("a click below", [&] { return talk.slide.pressedAt({210, 210}); });
        if (again == "plug")
            talk.companion.receiver("plug");
        talk.companion.receiver("wait-get 2 10000");
    }
    talk.companion.effectOn();
    talk.hand.move({300, 300});
    talk.expectLook("a spotlight of the receiver that came back", spotlightAt({300, 300}));
    talk.companion.receiver("mode stall"); // Still there, but silent: the key counts as let go.
    EXPECT_LT(talk.expectPlainSlide(), kReleaseLimit);
}

TEST(PulledReceiver, WithTheKeyHeldDownEndsTheEffectToo) {
    Talk talk(settingsFor("2"));
    talk.companion.effectOn();
    talk.hand.move({200, 200});
    talk.screen.waitForPixel({200, 200}, blend(kSlideColour, kDot, 0.8));
    talk.companion.receiver("unplug");
    EXPECT_LT(talk.expectPlainSlide(), kReleaseLimit);
    // What was held on the device before is what it answers when it comes back.
    talk.companion.receiver("plug");
    talk.screen.waitForPixel(talk.desktop.centre(), blend(kSlideColour, kDot, 0.8));
}

TEST(WithoutCompositor, SpotlightNeverBlackensTheDesktopAndTheLaserDotIsOpaque) {
    for (const std::string type : {"1", "2"}) {
        Talk talk(settingsFor(type.c_str()), {.size = {800, 600}, .compositor = false});
        EXPECT_EQ(talk.companion.logCount(kOpaque), 1);
        talk.companion.effectOn();
        for (const QPoint place : {QPoint(200, 200), {230, 210}}) {
            talk.hand.move(place);
            if (type == "1")
                talk.expectLookStays("a slide without a spotlight", plainLook(kSlideColour), 150ms);
            else
                talk.expectLook(
                    "an opaque dot without a rim",
                    [dot = discLook(Disc(place, 100), kDot, kSlideColour)](int x, int y, QRgb seen) {
                        return dot(x, y, seen) && (sameColour(seen, kDot) || sameColour(seen, kSlideColour));
                    });
        }
        talk.companion.effectOff();
        talk.expectPlainSlide();
        talk.hand.clickAt({230, 210});
        waitUntil("a click below", [&] { return talk.slide.pressedAt({230, 210}); });
    }
}

TEST(Compositor, ThatComesAndGoesIsFollowed) {
    Talk talk(settingsFor("1"), {.size = {800, 600}, .compositor = false});
    talk.desktop.startCompositor();
    talk.companion.effectOn();
    talk.hand.move({200, 200});
    talk.expectLook("a spotlight under a compositor that came late", spotlightAt({200, 200}));

    talk.desktop.stopCompositor(); // In the middle of the effect.
    talk.expectPlainSlide();
    EXPECT_EQ(talk.companion.logCount(kOpaque), 2);
    talk.companion.effectOff();
    talk.expectPlainSlide();

    talk.desktop.startCompositor();
    talk.companion.effectOn();
    talk.hand.move({300, 200});
    talk.expectLook("a spotlight once more", spotlightAt({300, 200}));
    EXPECT_EQ(talk.companion.logCount("a compositor runs again: the overlay is translucent"), 2);
    talk.companion.effectOff();
    talk.expectPlainSlide();
}

} // namespace
} // namespace companion::rig
