#include "support/ViewControllerFixture.h"

#include <array>
#include <limits>

namespace companion {
namespace {

TEST_F(ViewControllerTest, StartUpClicksOnceAtTheCentreCapturesOnceAndShowsNothing) {
    config.setType(kEffectSpotlight);
    window->windowDidLoad();
    controller->viewDidLoad();
    controller->viewDidAppear();
    queue.advance(0ms);
    EXPECT_EQ(log.lines,
              (std::vector<std::string>{"坐标为 0.000000,0.000000,800.000000,600.000000", "mouse 5", "Click!",
                                        "mouse 1", "mouse 2", "viewDidAppear"}));
    EXPECT_EQ(platform.mouse.posted.front().second, QPointF(400, 300));
    EXPECT_EQ(platform.capture.asked, 1);
    EXPECT_EQ(platform.fakeSurface.levels, (std::vector{1002}));
    EXPECT_EQ(platform.fakeSurface.mouse, (std::vector{false}));
    EXPECT_TRUE(controller->spotlightView()) << "built and hidden";
    EXPECT_TRUE(platform.fakeSurface.occupied.empty());
    EXPECT_EQ(controller->logTextField()->superview(), nullptr);
    EXPECT_FALSE(controller->logTextField()->isHidden());
}

TEST_F(ViewControllerTest, TheWholeRoadFromTheHeldKeyToTheEffectAndBack) {
    config.setType(kEffectSpotlight);
    window->windowDidLoad();
    controller->viewDidLoad();
    controller->viewDidAppear();
    queue.advance(1s);
    receiver.setEvent(std::array<std::uint8_t, 1>{0x10});
    queue.advance(100ms);
    EXPECT_TRUE(controller->mouseEffectIsOn());
    moveTo({200, 200});
    EXPECT_NE(at(0, 599), 0U);
    EXPECT_EQ(at(200, 400), 0U);
    receiver.setEvent(std::array<std::uint8_t, 1>{0x00});
    queue.advance(400ms);
    EXPECT_FALSE(controller->mouseEffectIsOn());
    EXPECT_EQ(at(0, 599), 0U);
    EXPECT_FALSE(platform.fakeSurface.mouse.back());
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

TEST_F(ViewControllerTest, InThePlainModeTheMouseIsNeverTakenButStillLetGo) {
    load();
    hold(500ms);
    moveTo({5, 5});
    queue.advance(1s);
    EXPECT_EQ(platform.fakeSurface.mouse, (std::vector{false}));
    EXPECT_EQ(platform.mouse.clicks(), 2);
    EXPECT_TRUE(controller->normalView());
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

TEST_F(ViewControllerTest, RefreshBuildsTheViewOfTheTypeAndATypeThatIsNoneBuildsNothing) {
    load();
    config.setType(kEffectSpotlight);
    center.post(NOTIFY_REFRESHPEN);
    EXPECT_TRUE(shown(controller->spotlightView())) << "also while the effect is off";
    EXPECT_EQ(controller->spotlightView()->frame(), (PointRect{0, 0, 800, 592}));
    config.setType(kEffectLaser);
    center.post(NOTIFY_REFRESHPEN);
    EXPECT_FALSE(shown(controller->spotlightView()));
    EXPECT_EQ(controller->laserView()->frame(), (PointRect{0, 0, 800, 592}));
    config.setType(kEffectNormal);
    center.post(NOTIFY_REFRESHPEN);
    EXPECT_EQ(controller->normalView()->frame(), (PointRect{0, 0, 800, 580}));
    config.setType(kEffectLaser);
    hold(300ms);
    const auto held = controller->laserView();
    center.post(NOTIFY_REFRESHPEN); // Also while the effect is on, which then goes on with the new view.
    EXPECT_NE(controller->laserView(), held);
    EXPECT_TRUE(shown(controller->laserView()));
    EXPECT_EQ(platform.mouse.clicks(), 1);
    queue.advance(1s);
    EXPECT_FALSE(shown(controller->laserView()));
    config.setType(7);
    effectKey();
    moveTo({100, 100});
    EXPECT_EQ(controller->canvas().root()->subviews().size(), 1U) << "the hint field only";
    center.post(LOCAL_MOUSETYPESWITCH);
    EXPECT_EQ(config.type(), kEffectNormal);
    queue.advance(1s);
}

TEST_F(ViewControllerTest, SizeStepsStayWithinTheirBoundsAndAreSavedAndShown) {
    load();
    const auto step = [this](std::int64_t from, std::string_view name) {
        config.setMouseSizeValue(from);
        center.post(name);
        EXPECT_EQ(store.value(QStringLiteral("LOCAL_MOUSESIZEVALUE")),
                  QString::number(config.mouseSizeValue()));
        EXPECT_EQ(hint(), QStringLiteral("◉:%1").arg(config.mouseSizeValue()));
        return config.mouseSizeValue();
    };
    EXPECT_EQ(step(245, LOCAL_MOUSESIZEVALUEADD), 250);
    EXPECT_EQ(step(250, LOCAL_MOUSESIZEVALUEADD), 250);
    EXPECT_EQ(step(240, LOCAL_MOUSESIZEVALUEADD), 250);
    EXPECT_EQ(step(55, LOCAL_MOUSESIZEVALUESUB), 50);
    EXPECT_EQ(step(50, LOCAL_MOUSESIZEVALUESUB), 50);
    EXPECT_EQ(step(60, LOCAL_MOUSESIZEVALUESUB), 50);
    EXPECT_EQ(step(9999, LOCAL_MOUSESIZEVALUESUB), 9989);
    EXPECT_EQ(step(9999, LOCAL_MOUSESIZEVALUEADD), 250);
    EXPECT_EQ(step(-5, LOCAL_MOUSESIZEVALUEADD), 5);
    EXPECT_EQ(step(-5, LOCAL_MOUSESIZEVALUESUB), 50);
    EXPECT_EQ(step(std::numeric_limits<std::int64_t>::max(), LOCAL_MOUSESIZEVALUEADD), 250);
}

TEST_F(ViewControllerTest, ModeSwitchesCycleResetTheSizeAndTakeEffectAtTheNextRisingEdge) {
    load();
    effectKey();
    config.setMouseSizeValue(80);
    for (const std::uint64_t type : {kEffectSpotlight, kEffectLaser, kEffectZoom, kEffectNormal}) {
        center.post(LOCAL_MOUSETYPESWITCH);
        EXPECT_EQ(config.type(), type);
        EXPECT_EQ(config.mouseSizeValue(), 150);
        EXPECT_EQ(store.value(QStringLiteral("LOCAL_MOUSETYPE")), QString::number(type));
    }
    EXPECT_FALSE(shown(controller->zoomView()));
    config.setType(std::numeric_limits<std::uint64_t>::max());
    center.post(LOCAL_MOUSETYPESWITCH);
    EXPECT_EQ(config.type(), kEffectNormal);
    store.setValue(QStringLiteral("SYSTEM_LANGUAGEINDEX"), QStringLiteral("12"));
    center.post(LOCAL_MOUSETYPESWITCH);
    EXPECT_EQ(config.type(), kEffectSpotlight) << "a damaged language setting does not end a talk";
    EXPECT_EQ(log.lines.back(), "SYSTEM_LANGUAGEINDEX is 12, which is not in the range 0 to 11");
}

TEST_F(ViewControllerTest, MotionsAreFollowedOnlyWhileThereIsAnEffect) {
    load();
    EXPECT_FALSE(platform.monitor.following);
    hold(200ms);
    EXPECT_TRUE(platform.monitor.following);
    queue.advance(1s);
    EXPECT_FALSE(platform.monitor.following);
}

TEST_F(ViewControllerTest, TheHintNamesTheModeInTheUsersLanguage) {
    load();
    const std::vector<QStringList> names = {
        {QStringLiteral("Spotlight"), QStringLiteral("Digital Pointer"), QStringLiteral("Lupe"),
         QStringLiteral("Standard")},
        {QStringLiteral("Spotlight"), QStringLiteral("Digital Pointer"), QStringLiteral("Magnifier"),
         QStringLiteral("Normal")},
        {QStringLiteral("Projecteur"), QStringLiteral("Pointeur"), QStringLiteral("Loupe"),
         QStringLiteral("Normal")},
    };
    for (int index = 0; index < 3; ++index) {
        store.setValue(QStringLiteral("SYSTEM_LANGUAGEINDEX"), QString::number(index));
        for (const QString &name : names[std::size_t(index)]) {
            center.post(LOCAL_MOUSETYPESWITCH);
            EXPECT_EQ(hint(), name);
        }
    }
}

TEST_F(ViewControllerTest, TheHintGoesThreeSecondsAfterTheLastOfSeveralSteps) {
    load();
    EXPECT_EQ(hint(), QStringLiteral("(hidden)"));
    center.post(LOCAL_MOUSESIZEVALUEADD);
    queue.advance(1s);
    center.post(LOCAL_MOUSESIZEVALUEADD);
    queue.advance(1s);
    center.post(LOCAL_MOUSETYPESWITCH);
    EXPECT_EQ(platform.fakeSurface.occupied.size(), 1U);
    EXPECT_EQ(platform.fakeSurface.occupied.front(), QRect(620, 28, 160, 52));
    queue.advance(2999ms);
    EXPECT_EQ(hint(), QStringLiteral("Spotlight"));
    queue.advance(1ms);
    EXPECT_EQ(hint(), QStringLiteral("(hidden)"));
    EXPECT_TRUE(platform.fakeSurface.occupied.empty());
}

TEST_F(ViewControllerTest,
       TheMagnifierIsBuiltWithItsExactFramesAndTakesItsPictureAfterTwoHundredMilliseconds) {
    config.setType(kEffectZoom);
    config.setMouseSizeValue(51);
    load();
    effectKey();
    const auto &lens = controller->zoomView();
    EXPECT_TRUE(shown(lens));
    EXPECT_EQ(lens->frame(), (PointRect{0, 0, 51, 51}));
    EXPECT_EQ(lens->layer().borderWidth, 2.0);
    EXPECT_EQ(lens->layer().cornerRadius, 25.0);
    EXPECT_EQ(lens->renderView()->frame(), (PointRect{0, 4000, 800, 592}));
    EXPECT_EQ(controller->zoomScreenShotImageView()->frame(), (PointRect{0, 0, 800, 600}));
    queue.advance(99ms);
    EXPECT_TRUE(shown(lens));
    queue.advance(1ms);
    EXPECT_FALSE(shown(lens)) << "hidden while its picture is taken";
    effectKey();
    queue.advance(99ms);
    EXPECT_EQ(platform.capture.asked, 0);
    queue.advance(1ms);
    EXPECT_EQ(platform.capture.asked, 1);
    EXPECT_TRUE(shown(lens));
    moveTo({200, 200});
    EXPECT_EQ(lens->frame(), (PointRect{175, 175, 51, 51}));
    EXPECT_EQ(lens->renderPoint(), (Point{175, 175}));
    EXPECT_EQ(at(200, 400), 0xff336699U);
    platform.fakeSurface.change({5000, 4500}, 1, true);
    EXPECT_EQ(controller->zoomView()->renderView()->frame().y, 4500)
        << "above a screen taller than its usual place";
}

TEST_F(ViewControllerTest, TheEffectKeyClosesTheSettingsWindow) {
    load();
    center.post(SYSTEM_SHOWSETTINGPAGE);
    center.post(SYSTEM_SHOWSETTINGPAGE);
    ASSERT_EQ(presented.size(), 2U) << "a fresh one each time";
    effectKey();
    EXPECT_TRUE(presented[0]->presented) << "on a later turn";
    queue.advance(0ms);
    EXPECT_FALSE(presented[0]->presented);
    EXPECT_TRUE(presented[1]->presented);
    EXPECT_EQ(log.lines.back(), "(SettingViewController, SettingViewController)");
    effectKey();
    queue.advance(0ms);
    EXPECT_FALSE(presented[1]->presented);
    effectKey();
    queue.advance(0ms);
    EXPECT_EQ(log.lines.back(), "()");
}

TEST_F(ViewControllerTest, ClosingTheSettingsWindowByNotificationRefreshesAndClicksHalfASecondLater) {
    config.setType(kEffectLaser);
    load();
    const auto before = controller->laserView();
    center.post(NOTIFY_CLOSESETTINGWINDOW);
    EXPECT_NE(controller->laserView(), before);
    queue.advance(499ms);
    EXPECT_EQ(platform.mouse.clicks(), 0);
    queue.advance(1ms);
    EXPECT_EQ(platform.mouse.clicks(), 1);
}

TEST_F(ViewControllerTest, TheOverlayFollowsTheScreenAlsoWhileTheEffectIsOn) {
    config.setType(kEffectSpotlight);
    load();
    hold(100ms);
    platform.fakeSurface.change({400, 300}, 2, true);
    effectKey();
    queue.advance(0ms);
    EXPECT_EQ(controller->spotlightView()->frame(), (PointRect{0, 0, 400, 292}));
    EXPECT_EQ(controller->effectSwitchHintTextField()->frame(), (PointRect{220, 220, 160, 52}));
    moveTo({200, 100});
    EXPECT_EQ(at(400, 400), 0U) << "device pixels, twice the points";
    EXPECT_NE(at(400, 340), 0U);
    platform.fakeSurface.change({}, 1, true); // No screen at all: zero frames, clicks at the origin.
    queue.advance(1s);
    EXPECT_EQ(platform.mouse.posted.back().second, QPointF(0, 0));
}

TEST_F(ViewControllerTest, WindowLevelsAndThePassThroughFollowTheirNotifications) {
    load();
    platform.fakeSurface.levels.clear();
    center.post(SYSTEM_SETWINDOWLEVEL, 1);
    center.post(SYSTEM_SETWINDOWLEVEL, 0);
    center.post(SYSTEM_SETWINDOWLEVEL, 2);
    center.post(SYSTEM_SETWINDOWLEVEL);
    EXPECT_EQ(platform.fakeSurface.levels, (std::vector{1000, -2147483643, -2147483643, -2147483643}));

    center.post(SYSTEM_SETMOUSEIGNORES, true);
    center.post(SYSTEM_SETMOUSEIGNORES, false);
    center.post(SYSTEM_SETMOUSEIGNORES, true);
    center.post(SYSTEM_SETMOUSEIGNORES);
    EXPECT_TRUE(platform.fakeSurface.mouse.empty()) << "deferred";
    queue.advance(0ms);
    EXPECT_EQ(platform.fakeSurface.mouse, (std::vector{true, false, true, false})) << "the last one wins";
}

} // namespace
} // namespace companion
