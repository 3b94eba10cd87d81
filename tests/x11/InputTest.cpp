#include "x11/X11Fixture.h"

#include <xcb/shape.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include <arpa/inet.h>

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

TEST_F(InputTest, LocationsArePointsFromTheMainScreensLowerLeft) {
    startServer();
    startPlatform();
    watch();
    client->move(100, 80);
    ASSERT_TRUE(eventuallyTypes({MouseMoved}));
    EXPECT_EQ(events.back().location, (Point{100, 1000}));

    // A main screen that is not the desktop's top left part, with two pixels to the point.
    ASSERT_TRUE(server->run({"xrandr", "--setmonitor", "left", "800/210x1080/280+0+0", "screen"}));
    ASSERT_TRUE(server->run({"xrandr", "--setmonitor", "*right", "1120/300x1000/280+800+80", "none"}));
    startPlatform(2);
    events.clear();
    watch();
    client->move(900, 180);
    ASSERT_TRUE(eventuallyTypes({MouseMoved}));
    EXPECT_EQ(events.back().location, (Point{50, 450}));
}

class DragTest : public InputTest, public ::testing::WithParamInterface<bool> {};

TEST_P(DragTest, ButtonsHeldTurnMovesIntoDragsAndReleasesAreTold) {
    startOverlay();
    watch();
    surface->setTakesMouse(GetParam());
    ASSERT_TRUE(eventually([&] {
        const auto catcher = client->catcher();
        return client->isMapped(catcher) && client->shape(catcher, XCB_SHAPE_SK_INPUT).empty() != GetParam();
    }));
    const auto expect = [&](std::vector<InputEventType> types) {
        EXPECT_TRUE(eventuallyTypes(types));
        events.clear();
    };
    client->press(1);
    client->move(10, 10);
    expect({LeftMouseDragged});
    client->press(1, false);
    expect({LeftMouseUp});
    client->press(3);
    client->move(20, 20);
    expect({RightMouseDragged});
    client->press(3, false);
    expect({RightMouseUp});
    client->click(2);
    client->click(4);
    client->move(30, 40); // Middle button and wheel have said nothing before this.
    ASSERT_TRUE(eventuallyTypes({MouseMoved}));
    EXPECT_EQ(events.back().location, (Point{30, 1040}));
}

INSTANTIATE_TEST_SUITE_P(Mouse, DragTest, ::testing::Bool(),
                         [](const auto &taken) { return taken.param ? "Taken" : "LetThrough"; });

TEST_F(InputTest, KeysAreKnownByTheirPlaceEvenUnderAGrab) {
    startOverlay();
    const auto grabber = client->window(QRect(0, 0, 100, 100), 0);
    xcb_grab_keyboard(client->xcb(), 1, grabber, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    xcb_grab_pointer(client->xcb(), 0, grabber, 0, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, 0, 0,
                     XCB_CURRENT_TIME);
    client->sync();
    watch();
    for (const int keycode : {56, 38, 71, 112, 117}) { // 38 is an ordinary letter.
        client->key(keycode);
        client->key(keycode, false);
    }
    client->move(300, 300);
    ASSERT_TRUE(
        eventuallyTypes({KeyDown, KeyUp, KeyDown, KeyUp, KeyDown, KeyUp, KeyDown, KeyUp, MouseMoved}));
    EXPECT_EQ(events[0].keyCode, 11);
    EXPECT_EQ(events[2].keyCode, 96);
    EXPECT_EQ(events[4].keyCode, 116);
    EXPECT_EQ(events[7].keyCode, 121);
}

TEST_F(InputTest, MotionsThatArriveTogetherAreOneWithTheLastPlace) {
    startOverlay();
    watch();
    for (int i = 0; i < 100; ++i)
        client->move(i, i);
    client->key(56);
    client->move(500, 500);
    client->sync(); // All of it has happened before the program reads any.
    ASSERT_TRUE(eventuallyTypes({KeyDown, MouseMoved}));
    EXPECT_EQ(events.back().location, (Point{500, 580}));
}

TEST_F(InputTest, MotionsAreToldOnlyWhileTheyAreFollowedAndKeysAlways) {
    startOverlay();
    watch();
    platform->inputMonitor().followMotion(false);
    client->move(10, 10);
    client->key(56);
    client->move(20, 20);
    ASSERT_TRUE(eventuallyTypes({KeyDown}));
    follow();
    client->move(30, 30);
    ASSERT_TRUE(eventuallyTypes({KeyDown, MouseMoved}));
}

// Such an event has left the socket already, so nothing else would wake the event loop for it.
TEST_F(InputTest, EventsThatCameAlongWithAnAnswerDoNotWait) {
    startOverlay();
    watch();
    client->move(50, 60);
    platform->screenCapture().captureDesktop([](const QImage &) {});
    EXPECT_TRUE(eventuallyTypes({MouseMoved}));
}

TEST_F(InputTest, EachMonitorSeesItsOwnTypesAndMayAddAnother) {
    startOverlay();
    int pressed = 0, added = 0;
    platform->inputMonitor().addGlobalMonitor(1u << 10, [&](const InputEvent &event) {
        EXPECT_EQ(event.type, KeyDown);
        ++pressed;
        for (int i = 0; i < 50; ++i)
            platform->inputMonitor().addGlobalMonitor(1u << 11, [&](const InputEvent &) { ++added; });
    });
    client->move(5, 5);
    client->key(56);
    EXPECT_TRUE(eventually([&] { return pressed == 1; }));
    client->key(56, false);
    EXPECT_TRUE(eventually([&] { return added == 50; }));
}

TEST_F(InputTest, SyntheticEventsActLikeTheUsersAtTheGivenPoint) {
    startServer();
    const auto below = client->window(QRect(900, 500, 200, 200), 0xffffff);
    startPlatform(2);
    watch();
    auto &mouse = platform->syntheticMouse();
    const QPointF centre(480, 270);
    for (const auto event : {SyntheticMouseEvent::MouseMoved, SyntheticMouseEvent::LeftMouseDown,
                             SyntheticMouseEvent::LeftMouseUp})
        mouse.post(event, centre);
    ASSERT_TRUE(eventually([&] { return events.size() >= 2; }));
    EXPECT_EQ(events.back().location, (Point{480, 270}));
    EXPECT_EQ(client->clicks(), (std::vector{XClient::Click{below, XCB_BUTTON_PRESS, 1},
                                             XClient::Click{below, XCB_BUTTON_RELEASE, 1}}));
}

// The server draws the cursor into its frame buffer, which it can keep in a file.
class CursorTest : public InputTest {
protected:
    void SetUp() override {
        std::string name = ::testing::TempDir() + "framebufferXXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        m_folder = name;
        startServer({"-fbdir", m_folder.string()});
        // A large cursor of a colour that is nowhere else.
        auto *c = client->xcb();
        const auto bitmap = xcb_generate_id(c), gc = xcb_generate_id(c), cursor = xcb_generate_id(c);
        xcb_create_pixmap(c, 1, bitmap, client->root(), 16, 16);
        const std::uint32_t one = 1;
        xcb_create_gc(c, gc, bitmap, XCB_GC_FOREGROUND, &one);
        const xcb_rectangle_t all{0, 0, 16, 16};
        xcb_poly_fill_rectangle(c, bitmap, gc, 1, &all);
        xcb_create_cursor(c, cursor, bitmap, bitmap, 0xffff, 0, 0xffff, 0xffff, 0, 0xffff, 8, 8);
        xcb_change_window_attributes(c, client->root(), XCB_CW_CURSOR, &cursor);
        client->move(600, 600);
        startPlatform();
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    bool cursorShows(int x, int y) {
        std::ifstream file(m_folder / "Xvfb_screen0", std::ios::binary);
        std::array<std::uint32_t, 25> header{};
        file.read(reinterpret_cast<char *>(header.data()), sizeof header);
        const auto field = [&](std::size_t i) { return std::streamoff{ntohl(header[i])}; };
        constexpr std::size_t headerSize = 0, bytesPerLine = 12, colours = 19;
        std::uint32_t pixel = 0;
        file.seekg(field(headerSize) + field(colours) * 12 + y * field(bytesPerLine) + x * 4);
        file.read(reinterpret_cast<char *>(&pixel), sizeof pixel);
        return (pixel & 0xffffff) == 0xff00ff;
    }

    std::filesystem::path m_folder;
};

TEST_F(CursorTest, AHiddenCursorComesBackWithTheNextMotion) {
    ASSERT_TRUE(eventually([&] { return cursorShows(600, 600); }));
    for (int i = 0; i < 3; ++i) // Hidden again on every poll; one motion undoes it all.
        platform->cursor().setHiddenUntilMouseMoves();
    EXPECT_TRUE(eventually([&] { return !cursorShows(600, 600); }));
    client->move(700, 650);
    EXPECT_TRUE(eventually([&] { return cursorShows(700, 650); }));

    platform->cursor().setHiddenUntilMouseMoves();
    EXPECT_TRUE(eventually([&] { return !cursorShows(700, 650); }));
    platform->cursor().show();
    EXPECT_TRUE(eventually([&] { return cursorShows(700, 650); }));
}

TEST_F(CursorTest, AMotionFromBeforeTheHidingDoesNotEndIt) {
    watch(1u << 10);
    client->move(700, 650);
    platform->cursor().setHiddenUntilMouseMoves();
    client->key(56); // Told after the motion.
    ASSERT_TRUE(eventuallyTypes({KeyDown}));
    EXPECT_TRUE(eventually([&] { return !cursorShows(700, 650); }));
}

TEST_F(CursorTest, AHiddenCursorComesBackWhenTheProgramIsKilled) {
    platform->cursor().setHiddenUntilMouseMoves();
    EXPECT_TRUE(eventually([&] { return !cursorShows(600, 600); }));
    platform.reset(); // To the server the same as a kill: the connection closes.
    EXPECT_TRUE(eventually([&] { return cursorShows(600, 600); }));
}

} // namespace
} // namespace companion
