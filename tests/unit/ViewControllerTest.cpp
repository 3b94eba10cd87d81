#include "overlay/ViewController.h"
#include "app/MainWindowController.h"
#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "platform/virtual_receiver/VirtualHidPort.h"
#include "platform/virtual_receiver/VirtualReceiver.h"
#include "receiver/HidManager.h"
#include "settings/ConfigManager.h"
#include "settings/SettingsStore.h"
#include "support/FakePlatform.h"
#include "support/LogRecorder.h"
#include "support/VirtualMainQueue.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <stdexcept>

using namespace std::chrono_literals;

namespace companion {
namespace {

constexpr double kWidth = 800;
constexpr double kHeight = 600;

class FakePresented final : public PresentedController {
public:
    bool isPresented() const override { return presented; }
    void dismiss() override { presented = false; }
    std::string description() const override { return "SettingViewController"; }
    bool presented = true;
};

class ViewControllerTest : public ::testing::Test {
protected:
    ViewControllerTest() {
        platform.fakeSurface.change({kWidth, kHeight}, 1, true);
        platform.capture.picture = QImage(int(kWidth), int(kHeight), QImage::Format_RGB32);
        platform.capture.picture.fill(0x336699);
        window.emplace(queue, center, platform.fakeSurface);
        controller.emplace(ViewController::Needs{queue, center, config, link, platform,
                                                 [this](std::string_view key) { return text(key); },
                                                 [this] { return present(); }});
    }

    // As at start-up, with the receiver still unplugged so that only the test posts.
    void load() {
        receiver.unplug();
        window->windowDidLoad();
        controller->viewDidLoad();
        controller->viewDidAppear();
        queue.advance(450ms);
        log.lines.clear();
        platform.mouse.posted.clear();
        platform.fakeSurface.mouse.clear();
        platform.capture.asked = 0;
    }
    std::optional<QString> text(std::string_view key) const {
        if (languageIsBroken)
            throw std::out_of_range("language 12 is outside of 0 to 11");
        return QString::fromUtf8(key.data(), qsizetype(key.size()));
    }
    std::shared_ptr<PresentedController> present() {
        presented.push_back(std::make_shared<FakePresented>());
        return presented.back();
    }
    void effectKey() { center.post(LOCAL_MOUSEEFFECTON); }
    void hold(std::chrono::milliseconds time) {
        for (auto passed = 0ms; passed < time; passed += 100ms) {
            effectKey();
            queue.advance(100ms);
        }
    }
    void moveTo(Point where) {
        platform.monitor.send(InputEventType::MouseMoved, where);
        queue.advance(0ms);
    }
    bool shown(const std::shared_ptr<View> &view) {
        return view && !view->isHidden() && view->superview() == controller->canvas().root().get();
    }
    QString hint() const {
        const auto &field = controller->effectSwitchHintTextField();
        return field->isHidden() ? QStringLiteral("(hidden)") : field->text();
    }
    Pixel at(int x, int y) const { return platform.fakeSurface.image.pixel(x, y); }

    LogRecorder log;
    VirtualMainQueue queue;
    NotificationCenter center;
    SettingsStore store;
    ConfigManager config{store};
    FakePlatform platform;
    VirtualReceiver receiver{queue};
    VirtualHidPort port{receiver};
    HidManager link{{queue, center, port, 1, 1}};
    std::optional<MainWindowController> window;
    std::optional<ViewController> controller;
    std::vector<std::shared_ptr<FakePresented>> presented;
    bool languageIsBroken = false;
};

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
    const std::pair<std::uint64_t, const char *> expected[] = {{kEffectSpotlight, "聚光"},
                                                               {kEffectLaser, "数码激光"},
                                                               {kEffectZoom, "放大镜"},
                                                               {kEffectNormal, "正常"}};
    for (const auto &[type, key] : expected) {
        center.post(LOCAL_MOUSETYPESWITCH);
        EXPECT_EQ(config.type(), type);
        EXPECT_EQ(config.mouseSizeValue(), 150);
        EXPECT_EQ(store.value(QStringLiteral("LOCAL_MOUSETYPE")), QString::number(type));
        EXPECT_EQ(hint(), QString::fromUtf8(key));
    }
    EXPECT_FALSE(shown(controller->zoomView()));
    config.setType(std::numeric_limits<std::uint64_t>::max());
    center.post(LOCAL_MOUSETYPESWITCH);
    EXPECT_EQ(config.type(), kEffectNormal);
    languageIsBroken = true;
    center.post(LOCAL_MOUSETYPESWITCH);
    EXPECT_EQ(config.type(), kEffectSpotlight);
    EXPECT_EQ(log.count("language 12 is outside of 0 to 11"), 1U);
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
    EXPECT_EQ(hint(), QStringLiteral("聚光"));
    queue.advance(1ms);
    EXPECT_EQ(hint(), QStringLiteral("(hidden)"));
    EXPECT_TRUE(platform.fakeSurface.occupied.empty());
}

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
