// What the spotlight, the laser dot and the plain mode put on the screen.
#include "e2e/Talk.h"

#include <gtest/gtest.h>

#include <random>

namespace companion::rig {
namespace {

constexpr QRgb kBack = qRgb(0xFF, 0x66, 0x00);
constexpr QRgb kFront = qRgb(0x00, 0xCC, 0x33);

// The colours' own alphas must never count.
Settings effectSettings(const std::string &type, int size = 150) {
    return {{"LOCAL_MOUSETYPE", type},
            {"LOCAL_MOUSESIZEVALUE", std::to_string(size)},
            {"LOCAL_BACKCOLOR", "srgb 1 0.4 0 0.1"},
            {"LOCAL_BACKALPHA", "0.6"},
            {"LOCAL_FRONTCOLOR", "srgb 0 0.8 0.2 0.1"},
            {"LOCAL_FRONTALPHA", "0.8"}};
}

Look effectLook(const std::string &type, QPoint pointer, int size) {
    const bool spotlight = type == "1";
    const Look disc = spotlight
                          ? discLook(Disc(pointer, size), kSlideColour, blend(kSlideColour, kBack, 0.6))
                          : discLook(Disc(pointer, size), blend(kSlideColour, kFront, 0.8), kSlideColour);
    return [disc](int x, int y, QRgb seen) {
        return y < kFreeRows ? sameColour(seen, kSlideColour, 0) : disc(x, y, seen);
    };
}

// In the open, cut by each edge, and back.
const QPoint kPlaces[] = {{301, 222}, {302, 223}, {3, 300}, {797, 301},
                          {400, 2},   {401, 598}, {0, 599}, {300, 222}};

struct EffectCase {
    const char *name;
    const char *type;
    int size;
    DesktopOptions desktop;
};

constexpr QSize kScreen(800, 600); // kPlaces lie on its edges.

class EffectOf : public ::testing::TestWithParam<EffectCase> {};

TEST_P(EffectOf, LiesAtThePointerAndNowhereElseHoweverItGotThere) {
    const auto &[name, type, size, desktop] = GetParam();
    Talk talk(effectSettings(type, size), desktop);
    talk.companion.effectOn();
    talk.expectLook("the effect in the centre", effectLook(type, talk.desktop.centre(), size));
    for (const QPoint place : kPlaces) {
        talk.hand.move(place);
        talk.expectLook("the effect at the pointer", effectLook(type, place, size));
    }
    std::mt19937 random(20240607);
    std::uniform_int_distribution<int> x(0, 799);
    std::uniform_int_distribution<int> y(0, 599);
    for (int i = 0; i < 1000; ++i)
        talk.hand.move({x(random), y(random)});
    talk.hand.move({333, 222});
    talk.expectLook("the effect after the last move", effectLook(type, {333, 222}, size));
    talk.companion.effectOff();
    talk.expectPlainSlide();
}

INSTANTIATE_TEST_SUITE_P(
    TypesAndSizes, EffectOf,
    ::testing::Values(
        EffectCase{"Spotlight51", "1", 51, {.size = kScreen}},
        EffectCase{"Spotlight150WithoutCompositor", "1", 150, {.size = kScreen, .compositor = false}},
        EffectCase{"Laser51WithoutCompositor", "2", 51, {.size = kScreen, .compositor = false}},
        EffectCase{"Laser150", "2", 150, {.size = kScreen}},
        EffectCase{"Spotlight51OnSway", "1", 51, {.size = kScreen, .wayland = Compositor::Sway}},
        EffectCase{"Laser150OnKWin", "2", 150, {.size = kScreen, .wayland = Compositor::KWin}}),
    [](const auto &each) { return std::string(each.param.name); });

TEST(UndrawnEffect, LeavesTheScreenAndTheSettingsAsTheyAre) {
    const Settings garbage{{"LOCAL_MOUSETYPE", "1"}, {"LOCAL_BACKCOLOR", "garbage"}};
    for (const Settings &settings : {Settings(), effectSettings("7"), garbage}) {
        Talk talk(settings);
        talk.companion.effectOn();
        for (const QPoint place : {QPoint(300, 200), QPoint(310, 205)}) {
            talk.hand.move(place);
            talk.expectLookStays("a slide without an effect", plainLook(kSlideColour), 200ms);
        }
        EXPECT_EQ(talk.companion.storedSettings(), settings);
    }
}

TEST(Hint, NamesTheNewModeForThreeSecondsAndIsSeenThroughTheSpotlight) {
    Talk talk(effectSettings("0", 80));
    const QRect field(800 - 180, 28, 160, 52); // 20 points from the right edge, 28 from the top.
    const QPoint paper(field.left() + 4, field.center().y());
    const QRgb hint = blend(kSlideColour, qRgb(255, 255, 255), 0.8);
    talk.companion.pressOnce("01");
    talk.screen.waitForPixel(paper, hint);
    EXPECT_TRUE(sameColour(talk.screen.pixel({field.left() - 2, paper.y()}), kSlideColour, 0));
    EXPECT_TRUE(sameColour(talk.screen.pixel({field.center().x(), field.top() - 2}), kSlideColour, 0));
    talk.screen.waitFor("the hint's text", field, [](const QImage &picture) {
        bool ink = false;
        for (int x = 0; x < picture.width(); ++x)
            ink = ink || qGreen(picture.pixel(x, picture.height() / 2)) < 0x60;
        return ink;
    });
    talk.companion.awaitStored("LOCAL_MOUSETYPE", "1");
    talk.companion.awaitStored("LOCAL_MOUSESIZEVALUE", "150");

    talk.companion.effectOn();
    talk.companion.pressOnce("12"); // Size up while held: the hint starts anew.
    const auto lastStep = std::chrono::steady_clock::now();
    talk.hand.move({300, 300});
    talk.screen.waitForPixel(paper, blend(hint, kBack, 0.6));
    talk.companion.awaitStored("LOCAL_MOUSESIZEVALUE", "160");
    talk.companion.effectOff();
    talk.screen.waitForPixel(paper, hint);
    talk.screen.waitForPixel(paper, kSlideColour);
    const auto shown = std::chrono::steady_clock::now() - lastStep;
    EXPECT_GT(shown, 2700ms); // The step came up to two polls before it was waited for.
    EXPECT_LT(shown, 3500ms);
    talk.expectPlainSlide();
}

} // namespace
} // namespace companion::rig
