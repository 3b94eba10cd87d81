#include "support/rig/Screen.h"
#include "x11/X11Fixture.h"

namespace companion {
namespace {

constexpr Pixel kHalfRed = 0x80800000;

using SurfaceTest = X11Fixture;

TEST_F(SurfaceTest, IsOnTheScreenOnlyWhileItShowsSomethingOrTakesTheMouseAndComesUpClear) {
    startOverlay();
    const auto shown = [&] { return overlay->isMapped(overlay->drawn()); };
    EXPECT_FALSE(shown());
    const QRect hint(10, 20, 30, 40);
    for (int i = 0; i < 2; ++i) { // Of the first time nothing is left at the second.
        present({{{hint.translated(i * 100, 0), kHalfRed}}, {}, {hint}});
        EXPECT_TRUE(eventually([&] {
            const QImage seen = overlay->content();
            return shown() && seen.pixel(15 + i * 100, 25) != 0 && seen.pixel(15 + 100 - i * 100, 25) == 0;
        }));
        EXPECT_TRUE(overlay->mouseTaken().isEmpty());
        present({{{hint, 0}}, {}, {}});
        EXPECT_TRUE(eventually([&] { return !shown(); }));
    }
    // A fill of most of the screen is there with the window, and nothing beside it.
    const QRect most = kScreen.adjusted(0, 8, 0, 0);
    present({{{most, kHalfRed}}, {QRect(100, 100, 50, 50)}, {most}}, 0x01010101);
    EXPECT_TRUE(eventually([&] {
        const QImage seen = overlay->content();
        return seen.pixel(5, 7) == 0 && seen.pixel(5, 8) != 0 && qAlpha(seen.pixel(120, 120)) == 1;
    }));
    surface->setTakesMouse(true);
    present({{{kScreen, 0}}, {}, {}});
    EXPECT_TRUE(eventually([&] { return overlay->mouseTaken() == kScreen; }));
    surface->setTakesMouse(false);
    EXPECT_TRUE(eventually([&] { return !shown(); }));
    EXPECT_TRUE(log.lines.empty()) << log.lines.front();
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
    void startHere() { startOverlay(GetParam() ? std::vector<std::string>{} : kWithoutSharedMemory); }
    // What the window ought to hold.
    QImage expected{kScreen.size(), QImage::Format_ARGB32_Premultiplied};
    Pixel &pixelAt(int x, int y) { return reinterpret_cast<Pixel *>(expected.scanLine(y))[x]; }
    void expectFilled(const QRect &area, Pixel pixel) {
        for (int y = area.top(); y <= area.bottom(); ++y)
            std::fill_n(&pixelAt(area.x(), y), area.width(), pixel);
    }
    bool arrives() {
        return eventually([&] { return overlay->content() == expected; });
    }
};

TEST_P(PixelTest, FillsAndPatchesArriveExactlyHoweverLarge) {
    startHere();
    // Larger than the memory for pixels, so in bands; over it fills of three values, two of them split.
    surface->present({{}, {kScreen}, {kScreen}}, [&](const PixelPatch &patch) {
        for (int y = 0; y < patch.area.height(); ++y)
            for (int x = 0; x < patch.area.width(); ++x) {
                auto &pixel = patch.pixels[std::ptrdiff_t{y} * patch.stride + x];
                ASSERT_EQ(pixel, 0u) << "patches start all zero";
                pixel = pattern(patch.area.x() + x, patch.area.y() + y);
                pixelAt(patch.area.x() + x, patch.area.y() + y) = pixel;
            }
    });
    EXPECT_TRUE(arrives());

    const std::vector<SurfaceFrame::Fill> fills{{QRect(3, 5, 7, 11), kHalfRed},
                                                {QRect(1919, 1079, 1, 1), 0xff00ff00},
                                                {QRect(100, 0, 1, 1080), kHalfRed},
                                                {QRect(200, 200, 9, 9), 0}};
    const QRect patch(500, 400, 251, 249);
    surface->present({fills, {patch}, {kScreen}}, [](const PixelPatch &p) { p.pixels[0] = 0x01010101; });
    for (const auto &fill : fills)
        expectFilled(fill.area, fill.pixel);
    expectFilled(patch, 0);
    pixelAt(patch.x(), patch.y()) = 0x01010101;
    EXPECT_TRUE(arrives());
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
            const auto pixel = 0xff000000u + static_cast<Pixel>(round * 1000 + i);
            present({{}, {tile}, {kScreen}}, pixel);
            expectFilled(tile.intersected(kScreen), pixel);
        }
    EXPECT_TRUE(arrives());
}

TEST_P(PixelTest, APictureThatComesAgainIsShownWithoutPaintingWhateverCameBetween) {
    startHere();
    surface->setTakesMouse(true);
    surface->present({{{kScreen, 0}}, {}, {kScreen}}, {});
    expectFilled(kScreen, 0);
    int painted = 0;
    const auto show = [&](QPoint where, QSize size, std::uint64_t picture) {
        const auto pixel =
            0xff000000u + static_cast<Pixel>(picture * 1000) + static_cast<Pixel>(size.width());
        expectFilled(QRect(where, size), pixel);
        SurfaceFrame frame{{}, {QRect(where, size)}, {kScreen}};
        frame.picture = picture;
        surface->present(frame, [&](const PixelPatch &patch) {
            ++painted;
            std::fill_n(patch.pixels, patch.area.width() * patch.area.height(), pixel);
        });
    };
    for (int i = 0; i < 6; ++i)
        show({100 * i, 0}, {90, 90}, 1);
    EXPECT_EQ(painted, 2) << "the second time it is kept";
    show({0, 100}, {200, 100}, 0); // Another patch in between.
    show({500, 100}, {90, 90}, 1);
    EXPECT_EQ(painted, 3);
    for (int i = 0; i < 3; ++i) // A smaller and a larger one under the same number, and another number.
        show({100 * i, 500}, {80, 90}, 1), show({100 * i, 600}, {95, 95}, 1),
            show({100 * i, 700}, {95, 95}, 2);
    EXPECT_TRUE(arrives());
}

INSTANTIATE_TEST_SUITE_P(Memory, PixelTest, ::testing::Bool(),
                         [](const auto &memory) { return memory.param ? "Shared" : "Copied"; });

TEST_F(SurfaceTest, TheMouseIsTakenEverywhereOrNowhere) {
    startOverlay();
    const auto below = window(kScreen, 0xffffff);
    surface->raise();
    // Everywhere, even where nothing shows, with every button and the wheel.
    present({{{kScreen, 0}}, {}, {}});
    surface->setTakesMouse(true);
    ASSERT_TRUE(eventually([&] { return overlay->mouseTaken() == kScreen; }));
    for (std::uint8_t button = 1; button <= 5; ++button)
        hand->click(button);

    // A drag that began on the overlay ends there, though that is to leave the screen.
    hand->press();
    surface->setTakesMouse(false);
    ASSERT_TRUE(eventually([&] { return overlay->mouseTaken().isEmpty(); }));
    EXPECT_TRUE(overlay->isMapped(overlay->drawn()));
    hand->release();
    EXPECT_TRUE(eventually([&] { return !overlay->isMapped(overlay->drawn()); }));
    hand->click(3);
    rig::waitUntil("the click that is let through", [&] { return below->buttons().size() >= 2; });
    EXPECT_EQ(below->buttons().size(), 2U);
    EXPECT_EQ(below->buttons().front().number, 3);
}

TEST_F(SurfaceTest, TheBackLevelIsOutOfSightAndEveryFrontLevelStartsAfresh) {
    startOverlay();
    int askedAgain = 0;
    surface->onChanged([&] { ++askedAgain; });
    surface->setTakesMouse(true);
    present({{{kScreen, kHalfRed}}, {}, {kScreen}});
    surface->setLevel(-2147483643);
    EXPECT_TRUE(eventually([&] { return !overlay->isMapped(overlay->drawn()); }));
    surface->present({{}, {kScreen}, {kScreen}}, [](const PixelPatch &) { ADD_FAILURE() << "out of sight"; });

    askedAgain = 0;
    surface->setLevel(1000);
    EXPECT_EQ(askedAgain, 1);
    EXPECT_TRUE(eventually([&] { return overlay->mouseTaken() == kScreen; })) << "the mouse is still wanted";
    EXPECT_EQ(overlay->content().pixel(5, 5), 0U);
}

// A hint's place is taken before the hint covers it, all else when it is covered first: the still shows
// nothing of ours, and what does not change stays while the dot moves.
TEST_F(SurfaceTest, WithoutACompositorEverythingIsLaidOverAStillAndTheDesktopIsLiveElsewhere) {
    startServer();
    const QRgb desktopColour = qRgb(0x33, 0x66, 0x99), later = qRgb(0, 0x80, 0);
    const auto slide = window(kScreen, desktopColour);
    startPlatform();
    surface->setLevel(1002);
    const rig::Screen screen(*desktop);
    const QRect hint(1740, 20, 160, 52), dot(100, 100, 50, 50);
    present({{{hint, 0x80808080}}, {}, {hint}});
    for (int i = 0; i < 5; ++i) {
        const QRect now = dot.translated(i * 10, 0), before = dot.translated((i - 1) * 10, 0);
        surface->present({{}, {now.united(before)}, {hint, now}}, [&](const PixelPatch &patch) {
            for (int y = now.top(); y <= now.bottom(); ++y)
                std::fill_n(patch.pixels + std::ptrdiff_t{y - patch.area.y()} * patch.stride + now.x() -
                                patch.area.x(),
                            now.width(), 0x80800000);
        });
    }
    const auto expectColours = [&](QRgb elsewhere) {
        EXPECT_TRUE(eventually([&] { return screen.pixel({105, 125}) == elsewhere; }));
        EXPECT_TRUE(eventually([&] { return screen.pixel({165, 125}) == qRgb(0x99, 0x33, 0x4c); }));
        EXPECT_EQ(screen.pixel({1750, 40}), qRgb(0x99, 0xb3, 0xcc));
    };
    expectColours(desktopColour);
    QImage changed(kScreen.size(), QImage::Format_ARGB32);
    changed.fill(later);
    slide->setPicture(changed);
    expectColours(later);
    surface->setTakesMouse(true);
    EXPECT_TRUE(eventually([&] { return overlay->mouseTaken() == kScreen; })) << "even where nothing shows";
    surface->setTakesMouse(false);
    present({{{kScreen, 0}}, {}, {}});
    EXPECT_TRUE(eventually([&] { return !overlay->isMapped(overlay->drawn()); }));
    EXPECT_EQ(screen.pixel({165, 125}), later);
}

} // namespace
} // namespace companion
