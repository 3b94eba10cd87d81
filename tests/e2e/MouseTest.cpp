// Who gets the mouse and the keyboard, and when.
#include "e2e/Talk.h"

#include <gtest/gtest.h>

#include <tuple>

namespace companion::rig {
namespace {

// The type of the effect, and Wayland's compositor.
class TakingEffect : public ::testing::TestWithParam<std::tuple<const char *, Compositor>> {};

TEST_P(TakingEffect, WindowBelowGetsEveryClickBeforeAndAfterTheEffectAndNoneDuringIt) {
    const auto [type, compositor] = GetParam();
    Talk talk(Settings{{"LOCAL_MOUSETYPE", type}}, {.size = {800, 600}, .wayland = compositor});
    talk.expectFree({101, 102});
    talk.companion.effectOn();
    talk.slide.forget();
    const auto expectKey = [&] {
        talk.hand.tapKey(kKeyA);
        waitUntil("the key", [&] { return talk.slide.keysPressed() == std::vector<std::uint8_t>{kKeyA}; });
        EXPECT_TRUE(talk.slide.focused());
    };
    expectKey(); // The keyboard stays where it was.
    for (const QPoint place : {QPoint(0, 0), {103, 104}, {799, 599}, {400, 3}, {400, 300}}) {
        talk.hand.clickAt(place);
        letTimePass(30ms);
    }
    EXPECT_TRUE(talk.slide.buttons().empty());
    if (compositor != Compositor::KWin) { // Its version 5 takes it for a click, until one on the slide.
        talk.slide.forget();
        expectKey();
    }

    talk.companion.receiver("event 00");
    const auto through = waitUntil("a click that passes again", [&] {
        talk.hand.clickAt({105, 106});
        letTimePass(10ms);
        return talk.slide.pressedAt({105, 106});
    });
    EXPECT_LT(through, kReleaseLimit);
    waitUntil("the click in the centre that ends the effect",
              [&] { return talk.slide.pressedAt(talk.desktop.centre()); });
    talk.slide.forget();
    expectKey();
}

INSTANTIATE_TEST_SUITE_P(SpotlightLaserZoom, TakingEffect,
                         ::testing::Combine(::testing::Values("1", "2", "3"),
                                            ::testing::Values(Compositor::None, Compositor::Sway,
                                                              Compositor::KWin)),
                         [](const auto &each) {
                             return "Type" + std::string(std::get<0>(each.param)) + "On" +
                                    nameOf(std::get<1>(each.param));
                         });

TEST(NormalMode, WindowBelowGetsEveryClickAlways) {
    Talk talk(Settings{{"LOCAL_MOUSETYPE", "0"}});
    talk.companion.effectOn();
    EXPECT_TRUE(talk.slide.pressedAt(talk.desktop.centre()));
    talk.expectFree({103, 104});
    talk.companion.effectOff();
    talk.expectFree({105, 106});
}

TEST(CentreClick, ComesOnceAtTheStartAndOnceOnEachEdgeOfTheEffect) {
    Talk talk(kSpotlight);
    EXPECT_EQ(talk.companion.input().events(), "mdu");
    EXPECT_TRUE(talk.slide.pressedAt(talk.desktop.centre()));
    EXPECT_EQ(talk.hand.pointer(), talk.desktop.centre());

    talk.hand.move({10, 10});
    talk.companion.effectOn();
    talk.companion.receiver("wait-get 15 10000"); // Held on: no more clicks.
    EXPECT_EQ(talk.companion.input().events(), "mdummdu");
    EXPECT_EQ(talk.hand.pointer(), talk.desktop.centre());
    talk.companion.effectOff();
    letTimePass(300ms);
    EXPECT_EQ(talk.companion.input().events(), "mdummdumdu");
    EXPECT_EQ(talk.companion.logCount("Click!"), 3);
}

TEST(Overlay, LiesAboveWindowsThatCameAfterItWhenTheEffectStarts) {
    Talk talk(kSpotlight);
    const QRgb white = qRgb(255, 255, 255);
    const TestWindow popup(talk.desktop, TestWindow::Kind::OverrideRedirect, white, {100, 100, 80, 60});
    const TestWindow other(talk.desktop, TestWindow::Kind::Managed, white, {300, 100, 80, 60});
    talk.screen.waitForPixel({110, 110}, white);
    talk.companion.effectOn();
    const QRgb dimmed = blend(white, qRgb(0, 0, 0), 0.6);
    talk.screen.waitForPixel({110, 110}, dimmed);
    talk.screen.waitForPixel({340, 140}, dimmed);
}

TEST(Cursor, IsHiddenWhileTheEffectIsOnComesBackOnMovesAndAfterTheEffect) {
    Talk talk(kLaser);
    talk.hand.move({200, 200});
    waitUntil("a cursor before the effect", [&] { return talk.screen.cursorVisible(); });
    talk.companion.effectOn();
    talk.companion.receiver("wait-get 2 10000"); // The centre click's move showed it until the next poll.
    waitUntil("a hidden cursor", [&] { return !talk.screen.cursorVisible(); });
    letTimePass(400ms);
    EXPECT_FALSE(talk.screen.cursorVisible());
    int step = 0;
    waitUntil("a cursor on a move", [&] { // Until the next poll only.
        talk.hand.move({300 + 20 * (++step % 2), 200});
        letTimePass(10ms);
        return talk.screen.cursorVisible();
    });
    talk.companion.effectOff();
    waitUntil("a cursor after the effect", [&] { return talk.screen.cursorVisible(); });
}

} // namespace
} // namespace companion::rig
