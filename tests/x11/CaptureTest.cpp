#include "support/OwnMemory.h"
#include "support/VirtualMainQueue.h"
#include "x11/X11Fixture.h"

#include <QPainter>

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
    const auto timed = makeX11Platform({time, nullptr, desktop->display()}, error);
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

} // namespace
} // namespace companion
