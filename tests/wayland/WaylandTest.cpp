// The program on Wayland compositors, over a window that is native there.
#include "e2e/Talk.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <ostream>

namespace companion::rig {
namespace {

// Whole numbers of points at every scale, as all places below.
constexpr QSize kSize(960, 720);
constexpr QPoint kFree(102, 600);

struct Case {
    const char *name;
    Compositor compositor;
    double scale;

    friend std::ostream &operator<<(std::ostream &out, const Case &each) { return out << each.name; }
};

class On : public ::testing::TestWithParam<Case> {
protected:
    static DesktopOptions desktop() {
        return {.size = kSize, .wayland = GetParam().compositor, .scale = GetParam().scale};
    }
    // Points in device pixels.
    static int pixels(double points) { return static_cast<int>(points * GetParam().scale); }

    static void expectDisc(const Talk &talk, QPoint at, QRgb inside, QRgb outside) {
        talk.expectLook("the effect", [=, disc = discLook(Disc(at, pixels(100)), inside, outside)](
                                          int x, int y, QRgb seen) {
            return y < pixels(kFreeRows) ? sameColour(seen, kSlideColour, 0) : disc(x, y, seen);
        });
    }
};

TEST_P(On, SpotlightLiesAroundTheMouseWhoseCursorItHidesAndGoesWithoutATrace) {
    Talk talk(kSpotlight, desktop());
    talk.expectFree(kFree);
    talk.companion.effectOn();
    expectDisc(talk, talk.desktop.centre(), kSlideColour, kDimmed);
    for (const QPoint at : {QPoint(300, 222), {0, 300}, {954, 714}, {306, 222}}) {
        talk.hand.move(at);
        expectDisc(talk, at, kSlideColour, kDimmed);
    }
    waitUntil("a hidden cursor", [&] { return !talk.screen.cursorVisible(); });
    int step = 0;
    waitUntil("a cursor on a move", [&] {
        talk.hand.move({300 + 30 * (++step % 2), 222});
        return talk.screen.cursorVisible();
    });
    talk.companion.effectOff();
    talk.expectPlainSlide();
    talk.expectFree(kFree);
}

TEST_P(On, LaserAndHintAreSeenOverTheSlideAndEndWhenTheReceiverIsPulled) {
    Talk talk(kLaser, desktop());
    talk.companion.receiver("event 10");
    talk.hand.move({300, 222});
    const QRgb dot = blend(kSlideColour, qRgb(255, 0, 0), 0.8);
    waitUntil("the effect", [&] { return talk.companion.logCount("Click!") == 2; });
    talk.hand.move({306, 228});
    talk.expectLook("the dot", discLook(Disc({306, 228}, pixels(100)), dot, kSlideColour));
    talk.companion.receiver("unplug");
    talk.companion.receiver("event 00");
    EXPECT_LT(talk.expectPlainSlide(), kReleaseLimit);
    waitUntil("the click that ends it", [&] { return talk.companion.logCount("Click!") == 3; });

    talk.companion.receiver("plug");
    talk.companion.receiver("wait-get 2 10000");
    talk.companion.pressOnce("01");
    const QPoint paper(kSize.width() - pixels(176), pixels(54));
    talk.screen.waitForPixel(paper, blend(kSlideColour, qRgb(255, 255, 255), 0.8));
    talk.expectFree({paper.x() + 20, paper.y()});
    talk.expectPlainSlide();
}

TEST_P(On, LensEnlargesEveryPixelOfANativeWindowAndTakesANewPictureAfterASlideKey) {
    Talk talk(
        Settings{{"LOCAL_MOUSETYPE", "3"}, {"LOCAL_MOUSESIZEVALUE", "100"}, {"LOCAL_MOUSEROOMVALUE", "50"}},
        desktop());
    const QImage first = noise(kSize, 1);
    const QImage second = noise(kSize, 99);
    talk.slide.setPicture(first);
    talk.expectLook("the test picture", pictureLook(first));
    talk.companion.effectOn();
    const QPoint at(480, 360);
    const auto lens = [&](const QImage &still, const QImage &behind) {
        return lensLook(at, pixels(100), 50, still, behind, pixels(2));
    };
    talk.hand.move(at + QPoint(6, 6));
    talk.hand.move(at);
    talk.expectLook("the picture enlarged", lens(first, first));
    talk.slide.setPicture(second);
    talk.expectLook("the old picture in the lens", lens(first, second));
    talk.companion.receiver("key page-down");
    talk.expectLook("no lens while the screen is read", pictureLook(second));
    talk.expectLook("the new picture in the lens", lens(second, second));
    talk.companion.effectOff();
    talk.expectLook("no lens", pictureLook(second));
}

INSTANTIATE_TEST_SUITE_P(
    Wayland, On,
    ::testing::Values(Case{"Sway", Compositor::Sway, 1}, Case{"Sway150", Compositor::Sway, 1.5},
                      Case{"Sway200", Compositor::Sway, 2}, Case{"KWin", Compositor::KWin, 1},
                      Case{"KWin150", Compositor::KWin, 1.5}, Case{"KWin200", Compositor::KWin, 2}),
    [](const auto &each) { return std::string(each.param.name); });

class Lost : public ::testing::TestWithParam<Case> {};

// A receiver that keeps silent, a crash, and a compositor that goes away.
TEST_P(Lost, ThreadsProgramsAndCompositorsLeaveAFreeMouseAndACleanScreen) {
    Talk talk(kSpotlight, {.size = kSize, .wayland = GetParam().compositor});
    talk.companion.effectOn();
    waitUntil("the effect", [&] { return talk.effectSeen(); });
    talk.companion.receiver("delay 3000"); // From the next poll on, at most 0.1 s away.
    const auto stuck = std::chrono::steady_clock::now();
    waitUntil("a free mouse", [&] {
        talk.hand.clickAt(kFree);
        return talk.slide.pressedAt(kFree);
    });
    EXPECT_LT(std::chrono::steady_clock::now() - stuck, 1200ms);
    talk.expectPlainSlide();
    talk.companion.receiver("delay 0");
    waitUntil("the effect again", [&] { return talk.effectSeen(); });

    talk.companion.process().signal(SIGKILL);
    EXPECT_EQ(talk.companion.process().waitForExit(), -SIGKILL);
    talk.expectPlainSlide();
    talk.expectFree(kFree + QPoint(6, 6)); // Some compositors look where the mouse is when it moves.

    CompanionProcess another(talk.desktop, Settings());
    another.receiver("event 10");
    letTimePass(200ms);
    talk.desktop.stopServer();
    EXPECT_EQ(another.process().waitForExit(), 1);
    EXPECT_EQ(another.logCount("the Wayland compositor has gone; the program ends"), 1);
    EXPECT_EQ(another.log().back().text, "the Wayland compositor has gone; the program ends");
}

INSTANTIATE_TEST_SUITE_P(Wayland, Lost,
                         ::testing::Values(Case{"Sway", Compositor::Sway, 1},
                                           Case{"KWin", Compositor::KWin, 1}),
                         [](const auto &each) { return std::string(each.param.name); });

// Others keep each picture for a frame, and need a third.
TEST(Sway, AMouseOfAnyRateIsFollowedToItsLastPlaceWithTwoPicturesOfTheScreen) {
    Talk talk(kSpotlight, {.size = kSize, .wayland = Compositor::Sway});
    talk.companion.effectOn();
    const auto pictures = [&] { // Kilobytes.
        std::ifstream status("/proc/" + std::to_string(talk.companion.process().pid()) + "/status");
        for (std::string line; std::getline(status, line);)
            if (line.starts_with("RssShmem:"))
                return std::stol(line.substr(line.find(':') + 1));
        throw std::runtime_error("no line RssShmem");
    };
    const auto expectAt = [&](QPoint at) {
        talk.expectLook("the effect",
                        [disc = discLook(Disc(at, 100), kSlideColour, kDimmed)](int x, int y, QRgb seen) {
                            return y < kFreeRows ? sameColour(seen, kSlideColour, 0) : disc(x, y, seen);
                        });
    };
    for (const QPoint at : {QPoint(300, 222), {306, 222}, {312, 222}}) {
        talk.hand.move(at);
        expectAt(at);
    }
    const long calm = pictures();
    for (int i = 0; i < 2000; ++i)
        talk.hand.move({300 + 6 * (i % 40), 222});
    expectAt({300 + 6 * 39, 222});
    EXPECT_LT(pictures() - calm, kSize.width() * kSize.height() * 4 / 1024 / 2);
}

// As where the compositor has no layer-shell; there is no click in the centre then.
TEST(Xwayland, EffectFollowsTheMouseOverANativeWindowTakesItsClicksAndHearsTheReceiversSlideKeys) {
    Talk talk(CompanionProcess::Options{.settings = kSpotlight, .arguments = {"--platform=x11"}},
              {.size = kSize, .wayland = Compositor::Sway, .xwayland = true});
    talk.expectFree(kFree);
    for (int i = 0; i < 3; ++i) {
        talk.hand.move({300, 222});
        talk.companion.effectOn();
        talk.expectSpotlight({302, 222});
        talk.slide.forget();
        talk.hand.clickAt({700, 500});
        talk.expectSpotlight({700, 500});
        EXPECT_TRUE(talk.slide.buttons().empty());
        talk.hand.tapKey(kKeyA);
        waitUntil("the key", [&] { return talk.slide.keysPressed().size() == 1; });
        talk.companion.effectOff();
        talk.expectLook("the slide and the X cursor",
                        [plain = plainLook(kSlideColour)](int x, int y, QRgb seen) {
                            return QRect(690, 490, 40, 40).contains(x, y) || plain(x, y, seen);
                        });
        talk.expectFree(kFree);
    }
    talk.companion.receiver("key page-down");
    talk.companion.waitForLog("控制器按下了'page_down'");

    // Windows, pointer and pictures all went with it: nothing is worth keeping for a next one.
    talk.companion.effectOn();
    const Environment &environment = talk.desktop.environment();
    const Ended server =
        runToEnd({"pkill", "-KILL", "-f", "^Xwayland " + environment.at("DISPLAY") + " "}, environment);
    EXPECT_EQ(server.status, 0) << server.err;
    EXPECT_EQ(talk.companion.process().waitForExit(), 1);
    EXPECT_EQ(talk.companion.log().back().text, "the X server has gone; the program ends");
    talk.expectPlainSlide();
    talk.expectFree(kFree);
}

TEST(Output, OfAnotherSizeDuringTheEffectHasTheEffectOnAllOfItAndIsFreeAfterIt) {
    Talk talk(kSpotlight, {.size = kSize, .wayland = Compositor::Sway});
    const QSize smaller(800, 600);
    QImage plain(1, 1, QImage::Format_RGB32);
    plain.fill(kSlideColour);
    talk.companion.effectOn();
    for (const QSize &size : {smaller, kSize}) {
        const std::string mode = std::to_string(size.width()) + "x" + std::to_string(size.height());
        talk.desktop.wayland()->tell({"output", "*", "mode", mode});
        waitUntil("a screen of " + mode, [&] { return talk.desktop.size() == size; });
        talk.slide.setPicture(plain);
        talk.expectSpotlight({302, 222});
        talk.expectSpotlight({size.width() - 20, size.height() - 20});
    }
    talk.companion.effectOff();
    talk.expectPlainSlide();
    talk.expectFree(kFree);
}

} // namespace
} // namespace companion::rig
