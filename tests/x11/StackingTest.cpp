#include "x11/X11Fixture.h"

#include <algorithm>

namespace companion {
namespace {

// The test is the window manager, too: it moves windows up and down as one does.
class StackingTest : public X11Fixture {
protected:
    static constexpr QRgb kWhite = 0xffffff;
    const QRect kSomewhere{100, 100, 200, 150};

    void SetUp() override {
        startOverlay();
        drawn = overlay->drawn();
        catcher = overlay->catcher();
    }

    std::unique_ptr<rig::TestWindow> settingsWindow() {
        auto settings = window(kSomewhere, kWhite);
        surface->stayBelow(settings->id());
        return settings;
    }

    void stack(const rig::TestWindow &moved, std::uint32_t mode, xcb_window_t sibling = XCB_NONE) {
        const std::uint32_t values[] = {sibling, mode};
        const bool alone = sibling == XCB_NONE;
        xcb_configure_window(overlay->connection(), moved.id(),
                             static_cast<std::uint16_t>(XCB_CONFIG_WINDOW_STACK_MODE |
                                                        (alone ? 0 : XCB_CONFIG_WINDOW_SIBLING)),
                             alone ? values + 1 : values);
        overlay->connection().sync();
    }

    // Right below that window, one over the other.
    bool overlayBelow(const rig::TestWindow &upper) {
        return eventually([&] {
            const auto all = overlay->stack();
            const auto at = std::find(all.begin(), all.end(), upper.id()) - all.begin();
            return at >= 2 && at < std::ssize(all) && all[std::size_t(at) - 1] == catcher &&
                   all[std::size_t(at) - 2] == drawn;
        });
    }
    bool overlayOnTop() {
        return eventually([&] {
            const auto all = overlay->stack();
            return all.back() == catcher && all[all.size() - 2] == drawn;
        });
    }

    // How many windows that moves, which is what a compositor hears of it.
    int movedByRaising() {
        const rig::XConnection listener(desktop->display());
        const std::uint32_t changes = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(listener, listener.root(), XCB_CW_EVENT_MASK, &changes);
        listener.sync();
        surface->raise();
        platform->screenCapture().probe(); // Waits for an answer: the server has raised what it raises.
        listener.sync();
        int moved = 0;
        while (const rig::XcbPtr<xcb_generic_event_t> event{xcb_poll_for_event(listener)})
            moved += (event->response_type & 0x7f) == XCB_CONFIGURE_NOTIFY ? 1 : 0;
        return moved;
    }

    xcb_window_t drawn = XCB_NONE;
    xcb_window_t catcher = XCB_NONE;
};

TEST_F(StackingTest, EveryOpenSettingsWindowStaysAboveAndTheOverlayIsOnTopAfterTheLast) {
    auto first = settingsWindow();
    auto second = settingsWindow();
    EXPECT_TRUE(overlayBelow(*first));
    surface->raise();
    EXPECT_TRUE(overlayBelow(*first)) << "the lower of the two counts";
    stack(*first, XCB_STACK_MODE_ABOVE);
    EXPECT_TRUE(overlayBelow(*second));

    second.reset();
    EXPECT_TRUE(overlayBelow(*first));
    xcb_unmap_window(overlay->connection(),
                     first->id()); // Minimised: still to stay above when it comes back.
    overlay->connection().sync();
    EXPECT_TRUE(overlayOnTop());
    xcb_map_window(overlay->connection(), first->id());
    overlay->connection().sync();
    EXPECT_TRUE(overlayBelow(*first));
    first.reset();
    EXPECT_TRUE(overlayOnTop());
    EXPECT_TRUE(log.lines.empty()) << log.lines.front();
}

TEST_F(StackingTest, AFrameIsFollowedWhereverTheWindowManagerPutsIt) {
    const auto inner = window(kSomewhere, kWhite);
    const auto frame = window(kSomewhere, kWhite);
    surface->stayBelow(inner->id()); // Not in its frame yet.
    xcb_reparent_window(overlay->connection(), inner->id(), frame->id(), 0, 0);
    overlay->connection().sync();
    EXPECT_TRUE(overlayBelow(*frame));

    const auto other = window(kSomewhere, kWhite);
    stack(*other, XCB_STACK_MODE_ABOVE);
    stack(*frame, XCB_STACK_MODE_ABOVE);
    EXPECT_TRUE(overlayBelow(*frame)) << "above the window that was raised";
    stack(*other, XCB_STACK_MODE_BELOW, frame->id());
    EXPECT_TRUE(overlayBelow(*frame)) << "above a window that was put right below the frame";
    stack(*frame, XCB_STACK_MODE_BELOW, other->id());
    EXPECT_TRUE(overlayBelow(*frame));
}

// A compositor draws the whole screen again for a window that moves.
TEST_F(StackingTest, RaisingMovesOnlyWhatIsNotInItsPlace) {
    EXPECT_EQ(movedByRaising(), 0);
    const auto slide = window(kScreen, kWhite);
    EXPECT_EQ(movedByRaising(), 2);
    EXPECT_TRUE(overlayOnTop());
    const auto settings = settingsWindow();
    EXPECT_TRUE(overlayBelow(*settings));
    EXPECT_EQ(movedByRaising(), 0);
}

TEST_F(StackingTest, AFullScreenWindowOverTheSettingsGetsTheOverlayAboveItAtTheNextRaise) {
    const auto settings = settingsWindow();
    const auto slide = window(kScreen, kWhite);
    ASSERT_TRUE(overlayBelow(*settings));
    surface->raise();
    EXPECT_TRUE(overlayOnTop());
    stack(*slide, XCB_STACK_MODE_BELOW, settings->id());
    EXPECT_TRUE(overlayBelow(*settings)) << "which can be seen again";
    const auto popup = window(kSomewhere, kWhite); // Hides nothing.
    surface->raise();
    EXPECT_TRUE(overlayBelow(*settings));
    EXPECT_EQ(overlay->stack().back(), popup->id());
}

} // namespace
} // namespace companion
