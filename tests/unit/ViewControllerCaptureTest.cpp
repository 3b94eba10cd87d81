#include "support/ViewControllerFixture.h"

#include <random>

namespace companion {
namespace {

TEST_F(ViewControllerTest, WatchedKeysAreLoggedAndRecaptureOnlyInZoomMode) {
    load();
    const auto press = [this](int key) {
        platform.monitor.send(InputEventType::KeyDown, {}, key);
        platform.monitor.send(InputEventType::KeyUp, {}, key);
    };
    for (const int key : {kVirtualKeyPageUp, kVirtualKeyPageDown, kVirtualKeyB, kVirtualKeyF5, 12})
        press(key);
    queue.advance(1s);
    EXPECT_EQ(log.lines, (std::vector<std::string>{"控制器按下了'page_up'", "控制器按下了'page_down'",
                                                   "控制器按下了'b'", "控制器按下了'f5'"}));
    EXPECT_EQ(platform.capture.asked, 0);

    config.setType(kEffectZoom);
    hold(400ms); // Built, first picture taken.
    ASSERT_EQ(platform.capture.asked, 1);
    press(kVirtualKeyPageDown);
    const auto lensAfter = [this](std::chrono::milliseconds time) {
        for (auto passed = 0ms; passed < time; passed += 50ms) {
            effectKey();
            queue.advance(std::min(50ms, time - passed));
        }
        return shown(controller->zoomView());
    };
    EXPECT_TRUE(lensAfter(199ms));
    EXPECT_FALSE(lensAfter(1ms));
    EXPECT_FALSE(lensAfter(99ms));
    EXPECT_TRUE(lensAfter(1ms));
    EXPECT_EQ(platform.capture.asked, 2);
}

TEST_F(ViewControllerTest, NothingOfTheOverlayIsOnTheScreenWhenAPictureIsTaken) {
    config.setType(kEffectZoom);
    load();
    center.post(LOCAL_MOUSESIZEVALUEADD); // The hint would be in the picture.
    hold(300ms);
    platform.monitor.send(InputEventType::KeyDown, {}, kVirtualKeyF5);
    queue.advance(199ms);
    EXPECT_FALSE(platform.fakeSurface.occupied.empty());
    effectKey();
    queue.advance(1ms);
    EXPECT_TRUE(platform.fakeSurface.occupied.empty());
    queue.advance(99ms);
    EXPECT_TRUE(platform.fakeSurface.occupied.empty());
    queue.advance(1ms);
    EXPECT_EQ(platform.fakeSurface.occupied.size(), 2U) << "hint and lens are back";
}

TEST_F(ViewControllerTest, EffectOffDuringACaptureLeavesTheLensHidden) {
    config.setType(kEffectZoom);
    load();
    hold(300ms);
    ASSERT_TRUE(shown(controller->zoomView()));
    platform.monitor.send(InputEventType::KeyDown, {}, kVirtualKeyB);
    queue.advance(200ms); // Off and hidden for the capture at the same moment.
    EXPECT_FALSE(controller->mouseEffectIsOn());
    queue.advance(1s);
    EXPECT_EQ(platform.capture.asked, 2);
    EXPECT_FALSE(shown(controller->zoomView()));
}

TEST_F(ViewControllerTest, CapturesThatOverlapBothRunAndALateOrRefusedOneLeavesNoStalePicture) {
    config.setType(kEffectZoom);
    load();
    hold(300ms);
    moveTo({200, 200});
    ASSERT_EQ(at(200, 400), 0xff336699U);
    platform.monitor.send(InputEventType::KeyDown, {}, kVirtualKeyB);
    hold(100ms);
    platform.capture.late = true;
    platform.monitor.send(InputEventType::KeyDown, {}, kVirtualKeyB);
    hold(500ms);
    ASSERT_EQ(platform.capture.waiting.size(), 2U);
    EXPECT_FALSE(shown(controller->zoomView()));
    platform.capture.waiting[0](platform.capture.picture);
    platform.capture.waiting[1]({});
    hold(100ms);
    EXPECT_TRUE(shown(controller->zoomView()));
    EXPECT_EQ(at(200, 400), 0U) << "only the ring";
    EXPECT_EQ(log.count("no picture of the screen: the magnifier stays empty"), 1U);

    platform.monitor.send(InputEventType::KeyDown, {}, kVirtualKeyB);
    queue.advance(1s);
    controller.reset(); // A capture that answers after the end must find nobody.
    platform.capture.waiting[2]({});
}

TEST_F(ViewControllerTest, HalfAnHourOfTalkLeavesViewsAndTasksBounded) {
    load();
    std::mt19937 random(11);
    const std::string_view keys[] = {LOCAL_MOUSETYPESWITCH, LOCAL_MOUSESIZEVALUEADD, LOCAL_MOUSESIZEVALUESUB,
                                     LOCAL_MOUSEEFFECTON,   NOTIFY_REFRESHPEN,       LOCAL_MOUSETYPESWITCH};
    std::size_t mostPending = 0;
    std::size_t mostViews = 0;
    for (int i = 0; i < 36'000; ++i) { // Every 50 ms; 12,000 mode switches.
        center.post(keys[random() % std::size(keys)]);
        platform.monitor.send(InputEventType::MouseMoved, {double(random() % 800), double(random() % 600)});
        platform.monitor.send(InputEventType::KeyDown, {}, kVirtualKeyB);
        queue.advance(50ms);
        mostPending = std::max(mostPending, queue.pending());
        mostViews = std::max(mostViews, controller->canvas().root()->subviews().size());
        log.lines.clear();
        platform.mouse.posted.clear();
    }
    EXPECT_LE(mostPending, 200U); // Bounded by the longest time-out: the hint's 3 s.
    EXPECT_LE(mostViews, 5U);     // Hint, lens, two holders, one effect.
    queue.advance(10s);
    EXPECT_LE(queue.pending(), 1U) << "the receiver's pass";
    EXPECT_TRUE(platform.fakeSurface.occupied.empty());
}

} // namespace
} // namespace companion
