#include "support/OwnMemory.h"
#include "support/VirtualMainQueue.h"
#include "x11/X11Fixture.h"

#include <QPainter>

#include <xcb/composite.h>

namespace companion {
namespace {

class CaptureTest : public X11Fixture {
protected:
    QImage capture(Platform &from) {
        QImage taken;
        from.screenCapture().captureDesktop([&](const QImage &image) { taken = image; });
        return taken;
    }
};

class CaptureMemoryTest : public CaptureTest, public ::testing::WithParamInterface<bool> {};

TEST_P(CaptureMemoryTest, ThePictureIsTheMainScreenPixelForPixel) {
    startServer(GetParam() ? std::vector<std::string>{} : kWithoutSharedMemory);
    const auto slide = window(kScreen, 0x102030);
    const auto spot = window(QRect(900, 200, 3, 5), 0xfedcba);
    desktop->setMonitors({{800, 80, 1120, 1000}, {0, 0, 800, 1080}});
    startPlatform();
    const QImage image = capture(*platform);
    ASSERT_EQ(image.size(), QSize(1120, 1000));
    QImage expected(image.size(), QImage::Format_ARGB32);
    expected.fill(0xff102030);
    QPainter(&expected).fillRect(100, 120, 3, 5, 0xfffedcba);
    // The byte that this kind of picture does not use has to be set, too: painters read it.
    EXPECT_EQ(QImage(image.constBits(), image.width(), image.height(), QImage::Format_ARGB32), expected);
}

INSTANTIATE_TEST_SUITE_P(Memory, CaptureMemoryTest, ::testing::Bool(),
                         [](const auto &memory) { return memory.param ? "Shared" : "Copied"; });

TEST_F(CaptureTest, APictureStaysAsItWasAndOutlivesThePlatform) {
    startServer();
    const auto slide = window(kScreen, 0x102030);
    startPlatform();
    const QImage before = capture(*platform);
    QImage next(1, 1, QImage::Format_RGB32);
    next.fill(0xfedcba);
    slide->setPicture(next);
    EXPECT_EQ(capture(*platform).pixel(5, 5), 0xfffedcba);
    platform.reset();
    EXPECT_EQ(before.pixel(1919, 1079), 0xff102030);
}

TEST_F(CaptureTest, ScreenSizedMemoryIsReusedForAWhileAndThenGivenBack) {
    startServer();
    VirtualMainQueue time;
    std::string error;
    const auto timed = makeX11Platform({time, nullptr, {}, desktop->display()}, error);
    ASSERT_NE(timed, nullptr) << error;
    const long idle = ownKilobytes("RssShmem");
    const long screen = 1920 * 1080 * 4 / 1024;

    QImage image = capture(*timed);
    const auto *memory = image.constBits();
    time.advance(std::chrono::minutes(10));
    image = QImage();
    time.advance(std::chrono::milliseconds(100));
    image = capture(*timed);
    EXPECT_EQ(image.constBits(), memory);

    image = QImage();
    EXPECT_GE(ownKilobytes("RssShmem"), idle + screen - 100);
    time.advance(std::chrono::milliseconds(2000));
    EXPECT_LE(ownKilobytes("RssShmem"), idle + 100);
}

// There the compositor takes every window by itself, and the root window shows none of them.
TEST_F(CaptureTest, UnderXwaylandThePictureIsPutTogetherFromTheWindows) {
    startServer();
    rig::ChildProcess name({"xrandr", "--setmonitor", "*XWAYLAND0", "1120/100x1000/100+800+80", "screen"},
                           desktop->environment());
    ASSERT_EQ(name.waitForExit(), 0) << name.err();
    const rig::XConnection compositor(desktop->display());
    xcb_composite_query_version(compositor, 0, 4);
    xcb_composite_redirect_subwindows(compositor, compositor.root(), XCB_COMPOSITE_REDIRECT_MANUAL);
    compositor.sync();
    const auto slide = window(QRect(0, 0, 1900, 1080), 0x102030);
    const auto spot = window(QRect(900, 200, 3, 5), 0xfedcba);
    const auto hidden = window(QRect(1000, 300, 50, 50), 0xff0000);
    xcb_unmap_window(compositor, hidden->id());
    compositor.sync();
    overlay->pretendCompositor();
    startPlatform();
    surface->setLevel(1002);
    present({{{QRect(0, 0, 10, 10), 0x80000000}}, {}, {QRect(0, 0, 10, 10)}}); // And nothing elsewhere.

    log.lines.clear(); // That nobody may click there.
    const QImage image = capture(*platform);
    ASSERT_EQ(image.size(), QSize(1120, 1000));
    EXPECT_EQ(image.pixel(5, 5), 0xff081018);
    EXPECT_EQ(image.pixel(50, 50), 0xff102030);
    EXPECT_EQ(image.pixel(100, 120), 0xfffedcba);
    EXPECT_EQ(image.pixel(102, 124), 0xfffedcba);
    EXPECT_EQ(image.pixel(103, 125), 0xff102030);
    EXPECT_EQ(image.pixel(220, 240), 0xff102030);
    EXPECT_EQ(image.pixel(1110, 50), 0xff000000) << "no window";
    bool later = false;
    queue.post(std::chrono::milliseconds(1), [&] { later = true; });
    EXPECT_TRUE(eventually([&] { return later; }));
    EXPECT_EQ(log.lines, std::vector<std::string>{}) << "refused requests";
}

} // namespace
} // namespace companion
