#include "x11/X11Fixture.h"

#include <xcb/shape.h>

#include <set>

namespace companion {
namespace {

constexpr Pixel kHalfRed = 0x80800000;
const QRect kScreen(0, 0, 1920, 1080);

class SurfaceTest : public X11Fixture {};

TEST_F(SurfaceTest, AnOverlayOnWhichNothingShowsHasNoOutline) {
    startOverlay();
    EXPECT_TRUE(client->isMapped(client->drawn()));
    EXPECT_TRUE(outline().empty());

    present({{{QRect(10, 20, 30, 40), kHalfRed}}, {}, {QRect(10, 20, 30, 40), QRect(100, 100, 5, 5)}});
    EXPECT_TRUE(eventually([&] { return outline() == std::vector{QRect(10, 20, 95, 85)}; }));

    present({{{QRect(10, 20, 30, 40), 0}}, {}, {}});
    EXPECT_TRUE(eventually([&] { return outline().empty(); }));
}

// Each change of the outline makes a compositor work.
TEST_F(SurfaceTest, AnEffectThatFollowsTheMouseChangesTheOutlineOnce) {
    startOverlay();
    surface->setTakesMouse(true);
    xcb_shape_select_input(client->xcb(), client->drawn(), 1);
    client->sync();
    QRect before;
    for (int i = 0; i < 50; ++i) {
        const QRect now(i * 20, i * 10, 50, 50);
        present({{}, {now.united(before)}, {now}}, kHalfRed);
        before = now;
    }
    present({{}, {before}, {}});
    int changes = 0;
    EXPECT_TRUE(eventually([&] {
        const bool gone = outline().empty();
        while (const X11Reply<xcb_generic_event_t> event{xcb_poll_for_event(client->xcb())})
            ++changes;
        return gone && changes > 0;
    }));
    EXPECT_EQ(changes, 2);
}

// A hint keeps its outline while a smaller one is shown, and gives up what is far too large.
TEST_F(SurfaceTest, AnOutlineFarTooLargeShrinks) {
    startOverlay();
    present({{}, {}, {kScreen}});
    present({{}, {}, {QRect(0, 0, 1900, 1000)}});
    ASSERT_TRUE(eventually([&] { return outline() == std::vector{kScreen}; }));
    present({{}, {}, {QRect(0, 0, 100, 100)}});
    EXPECT_TRUE(eventually([&] { return outline() == std::vector{QRect(0, 0, 100, 100)}; }));
}

Pixel pattern(int x, int y) {
    const auto alpha = static_cast<unsigned>((x + y) % 256);
    const auto colour = static_cast<unsigned>(x * 31 + y * 17) & 0xff;
    const unsigned premultiplied = colour * alpha / 255;
    return alpha << 24 | premultiplied << 16 | (premultiplied / 2) << 8 | alpha / 3;
}

// With memory shared with the server, and without, as on a remote display.
class PixelTest : public X11Fixture, public ::testing::WithParamInterface<bool> {
protected:
    void startHere() {
        startServer(GetParam() ? std::vector<std::string>{}
                               : std::vector<std::string>{"-extension", "MIT-SHM"});
        client->pretendCompositor(true);
        startPlatform();
        surface->setLevel(1002);
    }
    static void paintPattern(const PixelPatch &patch) {
        for (int y = 0; y < patch.area.height(); ++y)
            for (int x = 0; x < patch.area.width(); ++x) {
                auto &pixel = patch.pixels[std::ptrdiff_t{y} * patch.stride + x];
                ASSERT_EQ(pixel, 0u) << "patches start all zero";
                pixel = pattern(patch.area.x() + x, patch.area.y() + y);
            }
    }
    QImage content() { return client->picture(client->drawn(), kScreen); }
    int wrongPixels(const std::function<Pixel(int, int)> &expected) {
        const QImage image = content();
        int wrong = 0;
        for (int y = 0; y < kScreen.height(); ++y) {
            const auto *row = reinterpret_cast<const Pixel *>(image.constScanLine(y));
            for (int x = 0; x < kScreen.width(); ++x)
                wrong += row[x] != expected(x, y);
        }
        return wrong;
    }
};

TEST_P(PixelTest, FillsAndPatchesArriveExactlyHoweverLarge) {
    startHere();
    // Larger than the memory for pixels, so in bands; over it fills of three values, two of them split.
    surface->present({{}, {kScreen}, {kScreen}}, paintPattern);
    EXPECT_TRUE(eventually([&] { return wrongPixels(pattern) == 0; }));

    const QRect a(3, 5, 7, 11), b(1919, 1079, 1, 1), c(100, 0, 1, 1080), patch(500, 400, 251, 249);
    surface->present(
        {{{a, kHalfRed}, {b, 0xff00ff00}, {c, kHalfRed}, {QRect(200, 200, 9, 9), 0}}, {patch}, {kScreen}},
        [](const PixelPatch &p) { p.pixels[0] = 0x01010101; });
    EXPECT_TRUE(eventually([&] {
        return wrongPixels([&](int x, int y) -> Pixel {
                   if (patch.contains(x, y))
                       return QPoint(x, y) == patch.topLeft() ? 0x01010101 : 0;
                   if (a.contains(x, y) || c.contains(x, y))
                       return kHalfRed;
                   if (b.contains(x, y))
                       return 0xff00ff00;
                   return QRect(200, 200, 9, 9).contains(x, y) ? 0 : pattern(x, y);
               }) == 0;
    }));
    EXPECT_TRUE(log.lines.empty()) << log.lines.front();
}

// Pictures that the server has yet to read must not be painted over.
TEST_P(PixelTest, ManyPatchesInARowDoNotSpoilEachOther) {
    startHere();
    surface->setTakesMouse(true);
    const int side = 120;
    for (int round = 0; round < 20; ++round)
        for (int i = 0; i < 9 * 16; ++i) {
            const QRect tile(i % 16 * side, i / 16 * side, side, side);
            present({{}, {tile}, {kScreen}}, 0xff000000u + static_cast<Pixel>(round * 1000 + i));
        }
    EXPECT_TRUE(eventually([&] {
        return wrongPixels([](int x, int y) {
                   return 0xff000000u + static_cast<Pixel>(19 * 1000 + y / side * 16 + x / side);
               }) == 0;
    }));
}

INSTANTIATE_TEST_SUITE_P(Memory, PixelTest, ::testing::Bool(),
                         [](const auto &memory) { return memory.param ? "Shared" : "Copied"; });

TEST_F(SurfaceTest, TheMouseIsTakenEverywhereOrNowhere) {
    startOverlay();
    client->noteClicksOn(client->root());
    const auto below = client->window(QRect(100, 100, 400, 300), 0xffffff);
    surface->raise();
    const auto taken = [&] { return client->shape(client->catcher(), XCB_SHAPE_SK_INPUT); };
    const std::vector passed{XClient::Click{below, XCB_BUTTON_PRESS, 1},
                             XClient::Click{below, XCB_BUTTON_RELEASE, 1}};
    const auto focus = client->focus();

    client->move(200, 200);
    client->click();
    EXPECT_EQ(client->clicks(), passed);

    // Even where the overlay shows something, and that covers all.
    present({{{kScreen, kHalfRed}}, {}, {kScreen}});
    ASSERT_TRUE(eventually([&] { return !outline().empty(); }));
    client->click();
    EXPECT_EQ(client->clicks(), passed);

    // And everywhere while it is taken, whether anything shows or not: left, right, wheel, over the root too.
    present({{{kScreen, 0}}, {}, {}});
    surface->setTakesMouse(true);
    ASSERT_TRUE(eventually([&] { return taken() == std::vector{kScreen}; }));
    for (const int button : {1, 3, 4, 5})
        client->click(button);
    client->move(1800, 1000);
    client->click();
    EXPECT_EQ(client->clicks(), std::vector<XClient::Click>{});

    // A drag that began on the overlay ends there.
    client->move(200, 200);
    client->press(1);
    surface->setTakesMouse(false);
    ASSERT_TRUE(eventually([&] { return taken().empty(); }));
    client->press(1, false);
    client->click(3);
    const auto after = client->clicks();
    ASSERT_EQ(after.size(), 2u);
    EXPECT_EQ(after.front(), (XClient::Click{below, XCB_BUTTON_PRESS, 3}));
    EXPECT_EQ(client->focus(), focus) << "the overlay never has the keyboard";
}

TEST_F(SurfaceTest, TheBackLevelIsOutOfSightAndEveryFrontLevelStartsAfresh) {
    startOverlay();
    int askedAgain = 0;
    surface->onChanged([&] { ++askedAgain; });
    surface->setTakesMouse(true);
    present({{{kScreen, kHalfRed}}, {}, {kScreen}});
    const auto drawn = client->drawn(), catcher = client->catcher();

    surface->setLevel(-2147483643);
    EXPECT_TRUE(eventually([&] { return !client->isMapped(drawn) && !client->isMapped(catcher); }));
    surface->present({{}, {kScreen}, {kScreen}}, [](const PixelPatch &) { ADD_FAILURE() << "out of sight"; });
    EXPECT_EQ(askedAgain, 0);

    surface->setLevel(1000);
    EXPECT_EQ(askedAgain, 1);
    EXPECT_TRUE(eventually([&] { return client->isMapped(drawn) && client->isMapped(catcher); }));
    EXPECT_TRUE(outline().empty());
    EXPECT_EQ(client->shape(catcher, XCB_SHAPE_SK_INPUT), std::vector{kScreen})
        << "the mouse is still wanted";
}

TEST_F(SurfaceTest, RaisingBringsItAboveWhatCameUpSince) {
    startOverlay();
    const auto later = client->window(QRect(0, 0, 100, 100), 0xffffff);
    ASSERT_EQ(client->stack().back(), later);
    surface->raise();
    EXPECT_TRUE(eventually([&] {
        const auto stack = client->stack();
        const std::set<xcb_window_t> top(stack.end() - 2, stack.end());
        return top == std::set<xcb_window_t>{client->drawn(), client->catcher()};
    }));
}

TEST_F(SurfaceTest, TheMainScreenIsFollowedWhileItChanges) {
    startOverlay();
    int changes = 0;
    surface->onChanged([&] { ++changes; });
    const auto everywhere = [&](const QRect &area) {
        return eventually([&] {
            return client->geometry(client->drawn()) == area && client->geometry(client->catcher()) == area;
        });
    };
    surface->setTakesMouse(true);
    present({{{kScreen, kHalfRed}}, {}, {kScreen}});

    // Two monitors side by side, the right one the main one.
    ASSERT_TRUE(server->run({"xrandr", "--setmonitor", "left", "800/210x1080/280+0+0", "screen"}));
    ASSERT_TRUE(server->run({"xrandr", "--setmonitor", "*right", "1120/300x1000/280+800+80", "none"}));
    EXPECT_TRUE(everywhere(QRect(800, 80, 1120, 1000)));
    EXPECT_EQ(surface->size(), (Size{1120, 1000}));
    EXPECT_TRUE(outline().empty()) << "old content is gone until it is painted again";
    EXPECT_EQ(client->shape(client->catcher(), XCB_SHAPE_SK_INPUT), std::vector{QRect(0, 0, 1120, 1000)});
    EXPECT_GE(changes, 1);

    // Back to one, then to a smaller picture, then to a desktop with no monitor at all.
    ASSERT_TRUE(server->run({"xrandr", "--delmonitor", "right"}));
    ASSERT_TRUE(server->run({"xrandr", "--delmonitor", "left"}));
    EXPECT_TRUE(everywhere(kScreen));
    ASSERT_TRUE(server->run({"xrandr", "--newmode", "small", "74.5", "1280", "1344", "1472", "1664", "720",
                             "723", "728", "746"}));
    ASSERT_TRUE(server->run({"xrandr", "--addmode", "screen", "small"}));
    ASSERT_TRUE(server->run({"xrandr", "--output", "screen", "--mode", "small"}));
    EXPECT_TRUE(everywhere(QRect(0, 0, 1280, 720)));
    server->run({"xrandr", "--output", "screen", "--off"}); // Fails, after having done it.
    ASSERT_TRUE(server->run({"xrandr", "--fb", "1600x900"}));
    EXPECT_TRUE(everywhere(QRect(0, 0, 1600, 900)));
}

TEST_F(SurfaceTest, PointsAreScaledOnDenseScreens) {
    startServer();
    startPlatform(2);
    EXPECT_EQ(surface->size(), (Size{960, 540}));
    EXPECT_EQ(surface->scale(), 2);
}

} // namespace
} // namespace companion
