#include "x11/X11Fixture.h"

#include <algorithm>

namespace companion {
namespace {

// The test is the window manager, too: it moves windows up and down as one does.
class StackingTest : public X11Fixture {
protected:
    static constexpr std::uint32_t kWhite = 0xffffff;
    const QRect kSomewhere{100, 100, 200, 150};
    const QRect kScreen{0, 0, 1920, 1080};

    void SetUp() override {
        startOverlay();
        drawn = client->drawn();
        catcher = client->catcher();
    }

    xcb_window_t settingsWindow() {
        const auto window = client->window(kSomewhere, kWhite);
        surface->stayBelow(window);
        return window;
    }

    void stack(xcb_window_t window, std::uint32_t mode, xcb_window_t sibling = XCB_NONE) {
        const std::uint32_t values[] = {sibling, mode};
        const bool alone = sibling == XCB_NONE;
        xcb_configure_window(client->xcb(), window,
                             static_cast<std::uint16_t>(XCB_CONFIG_WINDOW_STACK_MODE |
                                                        (alone ? 0 : XCB_CONFIG_WINDOW_SIBLING)),
                             alone ? values + 1 : values);
        client->sync();
    }

    // Right below that window, one over the other.
    bool overlayBelow(xcb_window_t window) {
        return eventually([&] {
            const auto all = client->stack();
            const auto at = std::find(all.begin(), all.end(), window) - all.begin();
            return at >= 2 && at < std::ssize(all) && all[std::size_t(at) - 1] == catcher &&
                   all[std::size_t(at) - 2] == drawn;
        });
    }
    bool overlayOnTop() {
        return eventually([&] {
            const auto all = client->stack();
            return all.back() == catcher && all[all.size() - 2] == drawn;
        });
    }

    xcb_window_t drawn = XCB_NONE;
    xcb_window_t catcher = XCB_NONE;
};

TEST_F(StackingTest, EveryOpenSettingsWindowStaysAboveAndTheOverlayIsOnTopAfterTheLast) {
    const auto first = settingsWindow();
    const auto second = settingsWindow();
    EXPECT_TRUE(overlayBelow(first));
    surface->raise();
    EXPECT_TRUE(overlayBelow(first)) << "the lower of the two counts";
    stack(first, XCB_STACK_MODE_ABOVE);
    EXPECT_TRUE(overlayBelow(second));

    xcb_destroy_window(client->xcb(), second);
    client->sync();
    EXPECT_TRUE(overlayBelow(first));
    xcb_unmap_window(client->xcb(), first); // Minimised: still to stay above when it comes back.
    client->sync();
    EXPECT_TRUE(overlayOnTop());
    xcb_map_window(client->xcb(), first);
    client->sync();
    EXPECT_TRUE(overlayBelow(first));
    xcb_destroy_window(client->xcb(), first);
    client->sync();
    EXPECT_TRUE(overlayOnTop());
    EXPECT_TRUE(log.lines.empty()) << log.lines.front();
}

TEST_F(StackingTest, AFrameIsFollowedWhereverTheWindowManagerPutsIt) {
    const auto window = client->window(kSomewhere, kWhite);
    const auto frame = client->window(kSomewhere, kWhite);
    surface->stayBelow(window); // Not in its frame yet.
    xcb_reparent_window(client->xcb(), window, frame, 0, 0);
    client->sync();
    EXPECT_TRUE(overlayBelow(frame));

    const auto other = client->window(kSomewhere, kWhite);
    stack(other, XCB_STACK_MODE_ABOVE);
    stack(frame, XCB_STACK_MODE_ABOVE);
    EXPECT_TRUE(overlayBelow(frame)) << "above the window that was raised";
    stack(other, XCB_STACK_MODE_BELOW, frame);
    EXPECT_TRUE(overlayBelow(frame)) << "above a window that was put right below the frame";
    stack(frame, XCB_STACK_MODE_BELOW, other);
    EXPECT_TRUE(overlayBelow(frame));
}

TEST_F(StackingTest, AFullScreenWindowOverTheSettingsGetsTheOverlayAboveItAtTheNextRaise) {
    const auto settings = settingsWindow();
    const auto slide = client->window(kScreen, kWhite);
    ASSERT_TRUE(overlayBelow(settings));
    surface->raise();
    EXPECT_TRUE(overlayOnTop());
    stack(slide, XCB_STACK_MODE_BELOW, settings);
    EXPECT_TRUE(overlayBelow(settings)) << "which can be seen again";
    const auto popup = client->window(kSomewhere, kWhite); // Hides nothing.
    surface->raise();
    EXPECT_TRUE(overlayBelow(settings));
    EXPECT_EQ(client->stack().back(), popup);
}

} // namespace
} // namespace companion
