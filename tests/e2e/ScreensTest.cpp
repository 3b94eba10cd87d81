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
    // The middle of the main one by its size alone: not where it lies.
    EXPECT_EQ(talk.hand.pointer(), QPoint(place.main.width() / 2, place.main.height() / 2));
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
