#include "support/rig/Screen.h"
#include "x11/X11Fixture.h"

namespace companion {
namespace {

constexpr unsigned kEverything = 3316; // All the types that there are.

class InputTest : public X11Fixture {
protected:
    void watch(unsigned mask = kEverything) {
        platform->inputMonitor().addGlobalMonitor(mask, [this](const InputEvent &e) { events.push_back(e); });
        follow();
    }
    // Until the server has heard of it, which a capture's answer shows.
    void follow() {
        platform->inputMonitor().followMotion(true);
        platform->screenCapture().captureDesktop([](const QImage &) {});
    }
    ::testing::AssertionResult eventuallyTypes(const std::vector<InputEventType> &types) {
        std::vector<InputEventType> seen;
        const bool same = eventually([&] {
            seen.clear();
            for (const auto &event : events)
                seen.push_back(event.type);
            return seen == types;
        });
        if (same)
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "seen: " << ::testing::PrintToString(seen);
    }

    std::vector<InputEvent> events;
};

using enum InputEventType;

class DragTest : public InputTest, public ::testing::WithParamInterface<bool> {};

TEST_P(DragTest, ButtonsHeldTurnMovesIntoDragsAndReleasesAreTold) {
    startOverlay();
    watch();
    surface->setTakesMouse(GetParam());
    ASSERT_TRUE(eventually([&] { return overlay->mouseTaken().isEmpty() != GetParam(); }));
    const auto expect = [&](std::vector<InputEventType> types) {
        EXPECT_TRUE(eventuallyTypes(types));
        events.clear();
    };
    hand->press(1);
    hand->move({10, 10});
    expect({LeftMouseDragged});
    hand->release(1);
    expect({LeftMouseUp});
    hand->press(3);
    hand->move({20, 20});
    expect({RightMouseDragged});
    hand->release(3);
    expect({RightMouseUp});
    hand->click(2);
    hand->click(4);
    hand->move({30, 40}); // Middle button and wheel have said nothing before this.
    ASSERT_TRUE(eventuallyTypes({MouseMoved}));
    EXPECT_EQ(events.back().location, (Point{30, 1040}));
}

INSTANTIATE_TEST_SUITE_P(Mouse, DragTest, ::testing::Bool(),
                         [](const auto &taken) { return taken.param ? "Taken" : "LetThrough"; });

TEST_F(InputTest, MotionsThatArriveTogetherAreOneAndOnlyToldWhileTheyAreFollowed) {
    startOverlay();
    watch();
    for (int i = 0; i < 100; ++i)
        hand->move({i, i});
    hand->tapKey(rig::kKeyB);
    hand->move({500, 500});
    // All of it has happened before the program reads any.
    ASSERT_TRUE(eventuallyTypes({KeyDown, KeyUp, MouseMoved}));
    EXPECT_EQ(events.back().location, (Point{500, 580}));

    events.clear();
    platform->inputMonitor().followMotion(false);
    hand->move({10, 10});
    hand->tapKey(rig::kKeyB);
    ASSERT_TRUE(eventuallyTypes({KeyDown, KeyUp}));
    follow();
    hand->move({30, 30});
    ASSERT_TRUE(eventuallyTypes({KeyDown, KeyUp, MouseMoved}));
}

// Such an event has left the socket already, so nothing else would wake the event loop for it.
TEST_F(InputTest, EventsThatCameAlongWithAnAnswerDoNotWait) {
    startOverlay();
    watch();
    hand->move({50, 60});
    platform->screenCapture().captureDesktop([](const QImage &) {});
    EXPECT_TRUE(eventuallyTypes({MouseMoved}));
}

// What the server still has to tell must not undo what the program asked for since.
TEST_F(InputTest, AMotionFromBeforeTheHidingDoesNotEndIt) {
    startServer();
    const rig::Screen screen(*desktop);
    const auto slide = window(kScreen, 0xffffff); // Has a cursor; the bare desktop has none.
    startPlatform();
    watch(1u << 10);
    hand->move({700, 650});
    ASSERT_TRUE(eventually([&] { return screen.cursorVisible(); }));
    hand->move({710, 650});
    platform->cursor().setHiddenUntilMouseMoves();
    hand->tapKey(rig::kKeyB); // Told after the motion.
    ASSERT_TRUE(eventuallyTypes({KeyDown}));
    EXPECT_TRUE(eventually([&] { return !screen.cursorVisible(); }));
}

} // namespace
} // namespace companion
