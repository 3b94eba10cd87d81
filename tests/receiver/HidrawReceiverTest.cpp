// The receiver link as a whole: the real program over the real USB libraries.
#include "support/rig/CompanionProcess.h"
#include "support/rig/HidrawDevice.h"
#include "support/rig/Screen.h"
#include "support/rig/TestWindow.h"

#include <gtest/gtest.h>

namespace companion::rig {
namespace {

constexpr QRgb kSlideColour = qRgb(0x33, 0x66, 0x99);

TEST(HidrawReceiverTest, TheEffectFollowsTheKeyAndEndsWithAReceiverPulledAtAnyMoment) {
    const Desktop desktop({.size = {640, 480}});
    const Screen screen(desktop);
    const TestWindow slide(desktop, TestWindow::Kind::FullScreen, kSlideColour);
    writeSettings(desktop, {{"LOCAL_MOUSETYPE", "1"}}); // The spotlight, which dims all else.
    HidrawTestbed bed;
    HidrawDevice device(bed, 0x1209, 0x00AB);
    device.plug();
    Environment environment = desktop.environment();
    environment.merge(bed.environment());
    ChildProcess program({companionProgram(), "--receiver=1209:00ab"}, environment);
    const auto waitForReads = [&](int more) {
        const int wanted = device.reads + more;
        waitUntil("polls", [&] { return device.reads >= wanted; });
    };

    waitForReads(2);
    const int before = device.reads;
    letTimePass(2s);
    EXPECT_NEAR(device.reads - before, 20, 1);

    const auto expectDimmed = [&] {
        screen.waitFor("a dimmed corner", {5, 100, 1, 1},
                       [](const QImage &picture) { return !sameColour(picture.pixel(0, 0), kSlideColour); });
    };
    device.setEvent({0x10});
    expectDimmed();
    device.unplug();
    screen.waitForPixel({5, 100}, kSlideColour, 2s);

    device.plug();
    expectDimmed();
    device.delay = 5100ms; // As the kernel waits for a device that keeps silent.
    waitForReads(1);
    device.unplug(); // In the middle of a read.
    screen.waitForPixel({5, 100}, kSlideColour, 2s);
    device.delay = 0ms;
    device.plug();
    expectDimmed();
    program.signal(SIGKILL); // Nothing is left to answer it.
}

} // namespace
} // namespace companion::rig
