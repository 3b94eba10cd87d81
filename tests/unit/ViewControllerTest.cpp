#include "support/ViewControllerFixture.h"

#include <limits>

namespace companion {
namespace {

TEST_F(ViewControllerTest, StartUpClicksOnceAtTheCentreProbesTheCaptureOnceAndShowsNothing) {
    config.setType(kEffectSpotlight);
    window->windowDidLoad();
    controller->viewDidLoad();
    controller->viewDidAppear();
    queue.advance(0ms);
    EXPECT_EQ(platform.mouse.clicks(), 1);
    EXPECT_EQ(platform.mouse.posted.front().second, QPointF(400, 300));
    EXPECT_EQ(platform.capture.probed, 1);
    EXPECT_EQ(platform.capture.asked, 0) << "a screenful of memory for nobody";
    EXPECT_EQ(platform.fakeSurface.mouse, (std::vector{false}));
    EXPECT_TRUE(platform.fakeSurface.occupied.empty());
}

TEST_F(ViewControllerTest, TwentyPostsGiveOneRebuildOneClickAndOneMoreAfterTheKeyIsLetGo) {
    config.setType(kEffectLaser);
    load();
    effectKey();
    const auto built = controller->laserView();
    queue.advance(99ms);
    EXPECT_EQ(platform.mouse.clicks(), 0);
    queue.advance(1ms);
    EXPECT_EQ(platform.mouse.clicks(), 1);
    hold(1900ms);
    EXPECT_EQ(controller->laserView(), built);
    EXPECT_EQ(platform.mouse.clicks(), 1);
    EXPECT_EQ(platform.fakeSurface.mouse, std::vector<bool>(20, true)) << "taken again at every post";
    EXPECT_EQ(platform.fakeCursor.hidden, 20);
    queue.advance(199ms);
    EXPECT_TRUE(controller->mouseEffectIsOn());
    queue.advance(1ms); // 300 ms after the last post.
    EXPECT_FALSE(controller->mouseEffectIsOn());
    EXPECT_FALSE(platform.fakeSurface.mouse.back());
    EXPECT_TRUE(shown(controller->laserView()));
    queue.advance(100ms);
    EXPECT_EQ(platform.mouse.clicks(), 2);
    EXPECT_FALSE(shown(controller->laserView()));
}

TEST_F(ViewControllerTest, AGapOfThreeHundredMillisecondsEndsTheEffectAndOneLessDoesNot) {
    config.setType(kEffectLaser);
    load();
    effectKey();
    const auto first = controller->laserView();
    queue.advance(299ms);
    effectKey();
    EXPECT_EQ(controller->laserView(), first);
    queue.advance(350ms);
    effectKey();
    EXPECT_NE(controller->laserView(), first);
    queue.advance(50ms); // The end's click and hiding fall into the new effect, which must stay to be seen.
    EXPECT_TRUE(shown(controller->laserView()));
    queue.advance(1s);
    EXPECT_EQ(platform.mouse.clicks(), 4);
    EXPECT_FALSE(shown(controller->laserView()));
}

TEST_F(ViewControllerTest, PollsThatTakeLongerThanTheTimeOutAndSeeTheKeyHeldKeepTheEffect) {
    load();
    effectKey();
    queue.advance(100ms);
    for (const auto reading : {200ms, 400ms, 3000ms, 300ms}) {
        queue.block(reading); // The time-out falls due in here.
        effectKey();
        queue.advance(100ms);
        EXPECT_TRUE(controller->mouseEffectIsOn());
    }
    EXPECT_EQ(platform.mouse.clicks(), 1);
    queue.advance(500ms);
    EXPECT_FALSE(controller->mouseEffectIsOn()) << "the last of them counts";
    EXPECT_EQ(platform.mouse.clicks(), 2);
}

TEST_F(ViewControllerTest, AfterARescueTheEffectIsSeenAgainOnlyIfThePollSawTheKeyHeld) {
    config.setType(kEffectSpotlight);
    load();
    for (const bool held : {true, false}) {
        effectKey();
        queue.advance(100ms);
        queue.block(5s); // The next poll, and the watchdog lets go.
        if (held)
            effectKey();
        queue.advance(0ms);
        platform.fakeWatchdog.recovered();
        EXPECT_EQ(shown(controller->spotlightView()), held);
    }
    effectKey();
    EXPECT_TRUE(shown(controller->spotlightView())) << "held again";
}

TEST_F(ViewControllerTest, MovesAndDragsAreDrawnOnlyWhileTheEffectIsOn) {
    config.setType(kEffectSpotlight);
    config.setMouseSizeValue(51);
    load();
    moveTo({100, 100});
    EXPECT_EQ(controller->spotlightView()->spotlightRect(), PointRect{});
    effectKey();
    for (const auto type :
         {InputEventType::MouseMoved, InputEventType::LeftMouseDragged, InputEventType::RightMouseDragged}) {
        const double x = 100 + double(type);
        platform.monitor.send(type, {x, 100});
        EXPECT_NE(controller->spotlightView()->spotlightRect().x, x - 25) << "through the queue";
        queue.advance(0ms);
        EXPECT_EQ(controller->spotlightView()->spotlightRect(), (PointRect{x - 25, 75, 51, 51}));
    }
    platform.monitor.send(InputEventType::LeftMouseUp, {1, 1});
    queue.advance(0ms);
    EXPECT_EQ(controller->spotlightView()->spotlightRect().y, 75);
}

TEST_F(ViewControllerTest, SizeStepsStayWithinTheirBoundsAndAreSavedAndShown) {
    load();
    const std::int64_t most = std::numeric_limits<std::int64_t>::max();
    const std::int64_t cases[][3] = {// From, one step up, one step down.
                                     {245, 250, 235},
                                     {55, 65, 50},
                                     {9999, 250, 9989},
                                     {-5, 5, 50},
                                     {most, 250, most - 10}};
    for (const auto &[from, up, down] : cases)
        for (const auto &[key, to] :
             {std::pair{LOCAL_MOUSESIZEVALUEADD, up}, {LOCAL_MOUSESIZEVALUESUB, down}}) {
            config.setMouseSizeValue(from);
            center.post(key);
            EXPECT_EQ(config.mouseSizeValue(), to);
            EXPECT_EQ(store.value(QStringLiteral("LOCAL_MOUSESIZEVALUE")), QString::number(to));
            EXPECT_EQ(hint(), QStringLiteral("◉:%1").arg(to));
        }
}

TEST_F(ViewControllerTest, ModeSwitchesCycleResetTheSizeAndTakeEffectAtTheNextRisingEdge) {
    load();
    effectKey();
    config.setMouseSizeValue(80);
    const std::pair<std::uint64_t, const char *> modes[] = {{kEffectSpotlight, "Spotlight"},
                                                            {kEffectLaser, "Digital Pointer"},
                                                            {kEffectZoom, "Lupe"},
                                                            {kEffectNormal, "Standard"}};
    for (const auto &[type, name] : modes) {
        center.post(LOCAL_MOUSETYPESWITCH);
        EXPECT_EQ(hint(), QLatin1String(name)); // In the user's language.
        EXPECT_EQ(config.mouseSizeValue(), 150);
        EXPECT_EQ(store.value(QStringLiteral("LOCAL_MOUSETYPE")), QString::number(type));
        moveTo({100, 100});
        EXPECT_EQ(controller->canvas().root()->subviews().size(), 2U) << "hint and plain pointer";
    }
    config.setType(7); // As somebody wrote into the file.
    center.post(LOCAL_MOUSETYPESWITCH);
    EXPECT_EQ(config.type(), kEffectNormal);
}

TEST_F(ViewControllerTest, TheMagnifierIsHiddenForItsPictureWhichComesAfterTwoHundredMilliseconds) {
    config.setType(kEffectZoom);
    load();
    effectKey();
    const auto &lens = controller->zoomView();
    queue.advance(99ms);
    EXPECT_TRUE(shown(lens));
    queue.advance(1ms);
    EXPECT_FALSE(shown(lens));
    effectKey();
    queue.advance(99ms);
    EXPECT_EQ(platform.capture.asked, 0);
    queue.advance(1ms);
    EXPECT_EQ(platform.capture.asked, 1);
    EXPECT_TRUE(shown(lens));
    platform.fakeSurface.change({5000, 4500}, 1, true);
    EXPECT_EQ(controller->zoomView()->renderView()->frame().y, 4500)
        << "above a screen taller than its usual place";
}

} // namespace
} // namespace companion
