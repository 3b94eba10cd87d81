// Desktops of several monitors, and displays with more pixels than points.
#include "e2e/Talk.h"

#include <gtest/gtest.h>

namespace companion::rig {
namespace {

struct Placement {
    const char *name;
    const char *scale;
    QSize desktop;
    QRect main;
    QRect other;
};

const Placement kPlacements[] = {
    {"RightOfAnotherAndLower", "1", {1280, 600}, {640, 120, 640, 480}, {0, 0, 640, 480}},
    {"BelowAnother", "1.5", {800, 900}, {100, 450, 600, 450}, {0, 0, 800, 450}},
    {"AboveAnother", "2", {800, 820}, {40, 0, 720, 420}, {0, 420, 800, 400}},
};

class MainMonitor : public ::testing::TestWithParam<Placement> {
protected:
    const Placement &place = GetParam();
    const double scale = std::stod(place.scale);
    int pixels(int points) const { return static_cast<int>(points * scale); }
    CompanionProcess::Options showing(const char *type) const {
        return {.settings = {{"LOCAL_MOUSETYPE", type},
                             {"LOCAL_BACKALPHA", "0.6"},
                             {"LOCAL_MOUSESIZEVALUE", "100"},
                             {"LOCAL_MOUSEROOMVALUE", "50"}},
                .environment = {{"QT_SCALE_FACTOR", place.scale}}};
    }
    const DesktopOptions desktop{.size = place.desktop, .monitors = {place.main, place.other}};
};

TEST_P(MainMonitor, AloneHasTheEffectRightUnderThePointer) {
    Talk talk(showing("1"), desktop);
    talk.companion.effectOn();
    EXPECT_EQ(talk.hand.pointer(), QRect(place.main).translated(1, 1).center());
    for (const QPoint at : {place.main.center(), place.main.bottomLeft() + QPoint(6, -8)})
        talk.expectSpotlight(at, place.main, scale);
    talk.companion.effectOff();
    talk.expectPlainSlide();
}

TEST_P(MainMonitor, HasALensThatShowsWhatLiesUnderThePointer) {
    Talk talk(showing("3"), desktop);
    const QImage picture = noise(talk.desktop.size(), 5);
    talk.slide.setPicture(picture);
    talk.expectLook("the test picture", pictureLook(picture));
    talk.companion.effectOn();
    const QPoint at = place.main.center() + QPoint(30, -21);
    talk.hand.move(at);
    talk.expectLook("the lens", lensLook(at, pixels(100), 50, picture, picture, pixels(2)));
}

INSTANTIATE_TEST_SUITE_P(Placements, MainMonitor, ::testing::ValuesIn(kPlacements),
                         [](const auto &placement) { return std::string(placement.param.name); });

const DesktopOptions kTwoScreens{.size = {1280, 600}, .monitors = {{640, 120, 640, 480}, {0, 0, 640, 480}}};

TEST(ChosenScreen, HasTheEffectAndTheClickUntilItIsUnpluggedAndThenTheMainOneHasThem) {
    Talk talk(CompanionProcess::Options{.settings = kSpotlight, .arguments = {"--screen=part1"}},
              kTwoScreens);
    const auto &[main, chosen] = std::tie(kTwoScreens.monitors[0], kTwoScreens.monitors[1]);
    talk.companion.effectOn();
    EXPECT_EQ(talk.hand.pointer(), QPoint(320, 240));
    talk.expectSpotlight({100, 100}, chosen);
    talk.desktop.setMonitors({main});
    talk.companion.waitForLog("there is no screen 'part1': the effects are on the main one");
    talk.expectSpotlight({900, 300}, main);
    talk.companion.effectOff();
    talk.expectPlainSlide();
}

TEST(ScreenOfThePointer, HasTheEffectWhereTheMouseIsAndNothingIsClickedIfThatIsOff) {
    Settings settings = kSpotlight;
    settings.insert({{"SCREEN", "pointer"}, {"CENTRECLICK", "off"}});
    Talk talk(CompanionProcess::Options{.settings = settings}, kTwoScreens);
    const auto &[main, other] = std::tie(kTwoScreens.monitors[0], kTwoScreens.monitors[1]);
    talk.hand.move({100, 100});
    talk.companion.receiver("event 10");
    talk.expectSpotlight({100, 100}, other); // Without a move.
    talk.expectSpotlight({900, 300}, main);
    talk.expectSpotlight({120, 120}, other);
    talk.companion.receiver("event 00");
    talk.expectPlainSlide();
    EXPECT_EQ(talk.companion.input().clicks(), 0);
    talk.companion.pressOnce("01"); // A save of the program's own.
    waitUntil("the next mode on disk", [&] { return talk.companion.storedSettings() != settings; });
    EXPECT_EQ(talk.companion.storedSettings()["SCREEN"], "pointer");
    EXPECT_EQ(talk.companion.storedSettings()["CENTRECLICK"], "off");
}

TEST(Hint, IsMeasuredInPoints) {
    const auto pixels = [](int points) { return points * 3 / 2; };
    Talk talk(CompanionProcess::Options{.settings = kSpotlight, .environment = {{"QT_SCALE_FACTOR", "1.5"}}},
              {.size = {1200, 900}});
    const QRect hint(1200 - pixels(180), pixels(28), pixels(160), pixels(52));
    talk.companion.pressOnce("01");
    talk.screen.waitFor("the hint", QRect(QPoint(0, 0), talk.desktop.size()), [&](const QImage &image) {
        QRect changed;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (image.pixel(x, y) != kSlideColour)
                    changed |= QRect(x, y, 1, 1);
        return changed == hint;
    });
}

} // namespace
} // namespace companion::rig
