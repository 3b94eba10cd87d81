#include "x11/X11Fixture.h"

#include <QPainter>

#include <xcb/shape.h>

namespace companion {
namespace {

constexpr std::uint32_t kDesktop = 0x336699;
constexpr auto kMissing =
    "no compositor runs: the desktop cannot be seen through the overlay, so the spotlight "
    "and all transparency are off; the laser dot is drawn opaque";
const QRect kScreen(0, 0, 1920, 1080);

void paintDot(const PixelPatch &patch, const QRect &dot) {
    QImage image(reinterpret_cast<uchar *>(patch.pixels), patch.area.width(), patch.area.height(),
                 patch.stride * 4, QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 0, 0, 204));
    painter.translate(-patch.area.topLeft());
    painter.drawEllipse(dot);
}

class CompositorTest : public X11Fixture {
protected:
    void startBelow(bool composited) {
        startServer();
        client->window(kScreen, kDesktop);
        if (composited)
            startCompositor();
        startPlatform();
        surface->setLevel(1002);
    }
    void startCompositor() {
        compositor = std::make_unique<ChildProcess>(
            std::vector<std::string>{"env", "DISPLAY=" + server->displayName(), "picom", "--config",
                                     "/dev/null", "--backend", "xrender"});
    }
    bool eventuallyPixel(int x, int y, std::uint32_t colour) {
        return eventually([&] { return client->pixel(x, y) == colour; });
    }

    std::unique_ptr<ChildProcess> compositor;
};

TEST_F(CompositorTest, WithoutOneTheDotIsOpaqueRoundAndLeavesTheDesktopVisible) {
    startBelow(false);
    EXPECT_FALSE(surface->translucent());
    EXPECT_EQ(log.lines, std::vector<std::string>{kMissing});
    EXPECT_EQ(client->pixel(960, 540), kDesktop);

    const QRect first(100, 100, 50, 50), second(120, 110, 50, 50);
    const auto show = [&](const QRect &changed, const QRect &dot) {
        // The surround cannot be shown, so it must not be.
        surface->present({{{QRect(0, 500, 1920, 580), 0x80000000}}, {changed}, {kScreen}},
                         [&](const PixelPatch &patch) { paintDot(patch, dot); });
    };
    show(first, first);
    EXPECT_TRUE(eventuallyPixel(125, 125, 0xff0000));
    EXPECT_EQ(client->pixel(102, 102), kDesktop) << "outside the disc, inside its square";
    EXPECT_EQ(client->pixel(960, 900), kDesktop) << "no black surround";

    show(first.united(second), second);
    EXPECT_TRUE(eventuallyPixel(145, 159, 0xff0000));
    EXPECT_EQ(client->pixel(102, 125), kDesktop) << "where only the old disc was";
    const QImage screen = client->picture(client->root(), QRect(90, 90, 100, 100));
    int dot = 0, strange = 0;
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 100; ++x) {
            const auto colour = screen.pixel(x, y) & 0xffffff;
            dot += colour == 0xff0000;
            strange += colour != 0xff0000 && colour != kDesktop;
        }
    EXPECT_EQ(strange, 0) << "neither black nor a dark rim";
    EXPECT_NEAR(dot, 3.14159 * 25 * 25, 40);

    surface->present({{}, {second}, {}}, [](const PixelPatch &) {});
    EXPECT_TRUE(eventuallyPixel(145, 135, kDesktop));
}

TEST_F(CompositorTest, WhatDoesNotChangeStaysWhileTheDotMoves) {
    startBelow(false);
    const QRect hint(1740, 20, 160, 52), dot(100, 100, 50, 50);
    present({{{hint, 0xffffffff}}, {}, {hint}});
    for (int i = 0; i < 5; ++i) {
        const QRect now = dot.translated(i * 10, 0), before = dot.translated((i - 1) * 10, 0);
        surface->present({{}, {now.united(before)}, {hint, now}},
                         [&](const PixelPatch &patch) { paintDot(patch, now); });
    }
    EXPECT_TRUE(eventuallyPixel(165, 125, 0xff0000));
    EXPECT_EQ(client->pixel(1750, 40), 0xffffffu);
    EXPECT_EQ(client->pixel(105, 125), kDesktop);
}

TEST_F(CompositorTest, OneThatComesAndGoesIsFollowed) {
    startBelow(true);
    ASSERT_TRUE(eventually([&] { return surface->translucent(); }));
    log.lines.clear();
    // Half black over the desktop, which repaints itself on every change as the view tree does.
    const auto paintAll = [&] { present({{{kScreen, 0x80000000}}, {}, {kScreen}}); };
    surface->onChanged(paintAll);
    paintAll();
    const std::uint32_t dimmed = 0x19334c;
    EXPECT_TRUE(eventuallyPixel(960, 540, dimmed)) << std::hex << client->pixel(960, 540);

    compositor->kill();
    EXPECT_TRUE(eventually([&] { return !surface->translucent(); }));
    EXPECT_TRUE(eventuallyPixel(960, 540, kDesktop)) << std::hex << client->pixel(960, 540);
    EXPECT_EQ(log.lines, std::vector<std::string>{kMissing});

    log.lines.clear();
    startCompositor();
    EXPECT_TRUE(eventually([&] { return surface->translucent(); }));
    EXPECT_TRUE(eventuallyPixel(960, 540, dimmed)) << std::hex << client->pixel(960, 540);
    EXPECT_EQ(log.lines, std::vector<std::string>{"a compositor runs again: the overlay is translucent"});

    // And what is taken away is clear again.
    present({{{kScreen, 0}}, {}, {}});
    EXPECT_TRUE(eventuallyPixel(960, 540, kDesktop));
}

} // namespace
} // namespace companion
