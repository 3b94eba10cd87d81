// What one pointer event costs the X server, counted in what goes over the wire.
#include "overlay/EffectViews.h"
#include "overlay/OverlayCanvas.h"
#include "platform/x11/X11CompositorWatch.h"
#include "platform/x11/X11InputMonitor.h"
#include "platform/x11/X11Screens.h"
#include "platform/x11/X11Surface.h"
#include "settings/ConfigManager.h"
#include "settings/SettingsStore.h"
#include "x11/X11Fixture.h"

namespace companion {
namespace {

constexpr int kSize = 150;
constexpr std::uint64_t kPutImage = 40;    // Bytes of the request that shows a patch of shared memory.
constexpr std::uint64_t kFill = 12;        // Of one that fills, without its rectangles.
constexpr std::uint64_t kRectangle = 8;    // Of each.
constexpr std::uint64_t kQueryPointer = 8; // Of the only request of an event that waits for an answer.

// The backend's parts, so that the test can look at their connection.
class EventCostTest : public X11Fixture {
protected:
    void start(bool takesMouse) {
        startServer();
        overlay->pretendCompositor();
        std::string error;
        connection = X11Connection::open(queue, desktop->display(), error);
        ASSERT_NE(connection, nullptr) << error;
        screens.emplace(*connection, queue, ScreenChoice(), nullptr);
        compositor.emplace(*connection);
        drawn = X11Surface::make(*connection, queue, *screens, *compositor, error);
        ASSERT_NE(drawn, nullptr) << error;
        monitor.emplace(*connection, *screens);
        config.setFrontColor(Color{1, 0, 0, 1});
        config.setFrontAlpha(0.8);
        canvas.emplace(*drawn, queue);
        dot = std::make_shared<LaserView>(PointRect{0, 0, 1920, 1080}, config);
        canvas->root()->addSubview(dot);
        monitor->addGlobalMonitor(1u << 5, [this](const InputEvent &event) {
            dot->setLaserRect(effectRect(event.location, kSize));
            dot->setNeedsDisplay();
            ++events;
        });
        drawn->setLevel(1002);
        drawn->setTakesMouse(takesMouse);
        monitor->followMotion(true);
        connection->waitUntilProcessed();
        for (const int x : {400, 410}) // Warm: the outline, the graphics context.
            moveTo(x, 500);
    }

    // Bytes that the program has sent for it.
    std::uint64_t moveTo(int x, int y) {
        const std::uint64_t before = xcb_total_written(connection->xcb());
        const int seen = events;
        hand->move({x, y});
        EXPECT_TRUE(eventually([&] { return events > seen; }));
        return xcb_total_written(connection->xcb()) - before;
    }

    std::unique_ptr<X11Connection> connection;
    std::optional<X11Screens> screens;
    std::optional<X11CompositorWatch> compositor;
    std::unique_ptr<X11Surface> drawn;
    std::optional<X11InputMonitor> monitor;
    SettingsStore store;
    ConfigManager config{store};
    std::optional<OverlayCanvas> canvas;
    std::shared_ptr<LaserView> dot;
    int events = 0;
};

TEST_F(EventCostTest, AStepIsOnePatchAndOneFillOfTwoStripsAndAJumpCostsNoMoreAndNothingIsAskedFor) {
    start(true);
    for (int i = 1; i <= 20; ++i)
        EXPECT_EQ(moveTo(410 + 9 * i, 500 + i), kPutImage + kFill + 2 * kRectangle) << i;
    for (const int x : {1500, 200, 1000})
        EXPECT_EQ(moveTo(x, 300), kPutImage + kFill + kRectangle) << x;
}

TEST_F(EventCostTest, WhileTheMousePassesThroughItsPlaceIsAskedForOnceAnEvent) {
    start(false);
    for (int i = 1; i <= 5; ++i)
        EXPECT_LE(moveTo(410 + 9 * i, 500), kQueryPointer + kPutImage + kFill + 2 * kRectangle + 24)
            << "the outline may follow: 24 bytes";
}

} // namespace
} // namespace companion
