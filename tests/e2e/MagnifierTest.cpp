// The lens: an enlarged still of the screen around the pointer.
#include "e2e/Talk.h"

#include <gtest/gtest.h>

#include <tuple>

namespace companion::rig {
namespace {

using Clock = std::chrono::steady_clock;
constexpr QSize kSize(800, 600);

Settings zoomSettings(int size, int zoom) {
    return {{"LOCAL_MOUSETYPE", "3"},
            {"LOCAL_MOUSESIZEVALUE", std::to_string(size)},
            {"LOCAL_MOUSEROOMVALUE", std::to_string(zoom)}};
}

struct ZoomTalk : Talk {
    ZoomTalk(int size, int zoom) : Talk(zoomSettings(size, zoom), {.size = kSize}) { show(first); }

    void show(const QImage &picture) {
        slide.setPicture(picture);
        expectLook("the test picture", pictureLook(picture));
    }

    const QImage first = noise(kSize, 1);
    const QImage second = noise(kSize, 99);
};

class LensOf : public ::testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(LensOf, ShowsEveryPixelAroundThePointerEnlarged) {
    const auto [size, zoom] = GetParam();
    ZoomTalk talk(size, zoom);
    talk.companion.effectOn();
    for (const QPoint place : {QPoint(400, 300), {301, 222}, {790, 10}, {2, 595}}) {
        talk.hand.move(place);
        talk.expectLook("the lens at the pointer", lensLook(place, size, zoom, talk.first, talk.first));
    }
    talk.companion.effectOff();
    talk.expectLook("no lens", pictureLook(talk.first));
}

INSTANTIATE_TEST_SUITE_P(SizesAndZooms, LensOf,
                         ::testing::Values(std::tuple{51, 50}, std::tuple{250, 100}, std::tuple{150, 5},
                                           std::tuple{150, 19}),
                         [](const auto &each) {
                             return "Size" + std::to_string(std::get<0>(each.param)) + "Zoom" +
                                    std::to_string(std::get<1>(each.param));
                         });

TEST(Lens, KeepsItsPictureUntilASlideKeyAndIsHiddenForTheNewOne) {
    ZoomTalk talk(150, 50);
    const QPoint place(400, 300);
    talk.companion.effectOn();
    talk.hand.move(place);
    talk.expectLook("the first picture enlarged", lensLook(place, 150, 50, talk.first, talk.first));
    talk.slide.setPicture(talk.second);
    talk.expectLook("the old picture in the lens", lensLook(place, 150, 50, talk.first, talk.second));
    talk.hand.tapKey(kKeyA); // No slide key.
    talk.expectLookStays("the old picture in the lens", lensLook(place, 150, 50, talk.first, talk.second),
                         600ms);

    for (const Key key : {kKeyPageDown, kKeyPageUp, kKeyB, kKeyF5}) {
        const bool forth = key == kKeyPageDown || key == kKeyB;
        const QImage &before = forth ? talk.first : talk.second;
        const QImage &after = forth ? talk.second : talk.first;
        talk.slide.setPicture(after);
        talk.expectLook("the old picture in the lens", lensLook(place, 150, 50, before, after));
        const auto pressed = Clock::now();
        talk.hand.tapKey(key);
        talk.expectLook("no lens while the screen is read", pictureLook(after));
        const auto hidden = Clock::now() - pressed;
        talk.expectLook("the new picture in the lens", lensLook(place, 150, 50, after, after));
        const auto shown = Clock::now() - pressed;
        EXPECT_GT(hidden, 180ms);
        EXPECT_GT(shown, 290ms);
        EXPECT_LT(shown, 300ms + 250ms); // The latter is the machine's, and the time to compare pictures.
    }
}

TEST(Lens, SlideKeysCountWhileAnotherProgramGrabsTheKeyboard) {
    ZoomTalk talk(150, 50);
    const XConnection menu(talk.desktop.display());
    const auto grab =
        menu.reply(xcb_grab_keyboard_reply, xcb_grab_keyboard(menu, 1, menu.root(), XCB_CURRENT_TIME,
                                                              XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    ASSERT_TRUE(grab && grab->status == XCB_GRAB_STATUS_SUCCESS);
    talk.hand.tapKey(kKeyPageDown);
    talk.companion.waitForLog("控制器按下了'page_down'");
}

} // namespace
} // namespace companion::rig
