// What the end-to-end tests stand on, tested without the program.
#include "support/rig/CompanionProcess.h"
#include "support/rig/InputDevices.h"
#include "support/rig/Screen.h"
#include "support/rig/TestWindow.h"

#include <gtest/gtest.h>
#include <xcb/xfixes.h>

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace companion::rig {
namespace {

constexpr QRgb kSlide = qRgb(0x33, 0x66, 0x99);
constexpr QRgb kOther = qRgb(0xC0, 0x20, 0x10);

TEST(RigWaiting, TimeOutNamesWhatWasWaitedFor) {
    try {
        waitUntil(
            "a miracle", [] { return false; }, 20ms);
        FAIL() << "the wait ended well";
    } catch (const WaitTimeout &timeout) {
        EXPECT_NE(std::string(timeout.what()).find("a miracle"), std::string::npos) << timeout.what();
    }
}

TEST(RigChild, OutputsExitStatusAndSignalsAreSeenAsTheyAre) {
    ChildProcess child({"sh", "-c", "echo first >&2; read line; echo got $line; exit 7"},
                       inheritedEnvironment(), true);
    EXPECT_EQ(child.waitForError("first"), "first");
    EXPECT_TRUE(child.running());
    child.write("this\n");
    EXPECT_EQ(child.waitForExit(), 7);
    EXPECT_EQ(child.out(), "got this\n");

    ChildProcess sleeper({"sleep", "60"}, inheritedEnvironment());
    EXPECT_THROW(sleeper.waitForExit(20ms), WaitTimeout);
    sleeper.signal(SIGKILL);
    EXPECT_EQ(sleeper.waitForExit(), -SIGKILL);

    ChildProcess missing({"no-such-program"}, inheritedEnvironment());
    EXPECT_EQ(missing.waitForExit(), 127);
    EXPECT_NE(missing.err().find("no-such-program"), std::string::npos);
}

TEST(RigChild, ChildrenDieWithATestThatIsKilled) {
    int told[2];
    ASSERT_EQ(pipe(told), 0);
    const pid_t test = fork();
    if (test == 0) {
        const ChildProcess child({"sleep", "60"}, inheritedEnvironment());
        const pid_t pid = child.pid();
        if (write(told[1], &pid, sizeof pid) == sizeof pid)
            pause();
        _exit(1);
    }
    pid_t child = 0;
    ASSERT_EQ(read(told[0], &child, sizeof child), static_cast<ssize_t>(sizeof child));
    kill(test, SIGKILL);
    waitpid(test, nullptr, 0);
    const std::string stat = "/proc/" + std::to_string(child) + "/stat";
    waitUntil("the end of the killed test's child", [&] {
        if (kill(child, 0) != 0)
            return true;
        // In a container nobody may collect it: then it stays, dead, as a zombie.
        ChildProcess state({"cat", stat}, inheritedEnvironment());
        state.waitForExit();
        return state.out().find(") Z ") != std::string::npos;
    });
    close(told[0]);
    close(told[1]);
}

TEST(RigChild, MuchOutputDoesNotStallAProgramThatNobodyReads) {
    ChildProcess child({"sh", "-c", "head -c 3000000 /dev/zero"}, inheritedEnvironment());
    EXPECT_EQ(child.waitForExit(), 0);
    EXPECT_EQ(child.out().size(), 3000000U);
}

TEST(RigDesktop, WindowsColoursAndPicturesAreReadBackAsTheyAreSeen) {
    for (const bool compositor : {true, false}) {
        const Desktop desktop({.size = {640, 480}, .compositor = compositor});
        const Screen screen(desktop);
        TestWindow slide(desktop, TestWindow::Kind::FullScreen, kSlide);
        screen.waitForPixel({5, 5}, kSlide);
        screen.waitForPixel({634, 474}, kSlide);

        TestWindow popup(desktop, TestWindow::Kind::OverrideRedirect, kOther, {100, 50, 40, 30});
        screen.waitForPixel({100, 50}, kOther);
        const QImage shot = screen.settled();
        EXPECT_EQ(shot.pixel(139, 79), kOther);
        EXPECT_EQ(shot.pixel(99, 50), kSlide);
        EXPECT_EQ(shot.pixel(140, 79), kSlide);

        QImage pattern(640, 480, QImage::Format_RGB32);
        for (int y = 0; y < 480; ++y)
            for (int x = 0; x < 640; ++x)
                pattern.setPixel(x, y, qRgb(x & 0xFF, y & 0xFF, (x * y) & 0xFF));
        slide.setPicture(pattern);
        screen.waitForPixel({300, 301}, pattern.pixel(300, 301));
        EXPECT_EQ(screen.grab({200, 200, 50, 60}),
                  pattern.copy(200, 200, 50, 60).convertToFormat(QImage::Format_ARGB32));
    }
}

TEST(RigDesktop, PictureThatNeverComesIsKeptAsAFileForThePersonWhoLooksIntoIt) {
    const Desktop desktop({.size = {640, 480}, .windowManager = false, .compositor = false});
    const Screen screen(desktop);
    const TestWindow slide(desktop, TestWindow::Kind::OverrideRedirect, kSlide, {0, 0, 640, 480});
    screen.waitForPixel({5, 5}, kSlide);
    qputenv("COMPANION_TEST_PICTURES", QByteArray::fromStdString(desktop.file("pictures")));
    try {
        screen.waitForPixel({5, 5}, kOther, 30ms);
        FAIL() << "the wait ended well";
    } catch (const WaitTimeout &timeout) {
        const std::string text = timeout.what();
        const QImage kept(QString::fromStdString(text.substr(text.rfind(' ') + 1)));
        EXPECT_EQ(kept.size(), QSize(640, 480)) << text;
        EXPECT_EQ(kept.pixel(5, 5), kSlide);
    }
}

TEST(RigDesktop, ClicksAndKeysReachTheWindowBelowAndTheRecorderSeesThem) {
    const Desktop desktop({.size = {640, 480}});
    InputRecorder recorder(desktop);
    InputDevices hand(desktop);
    TestWindow slide(desktop, TestWindow::Kind::FullScreen, kSlide);
    hand.clickAt({123, 45});
    waitUntil("the click", [&] { return slide.pressedAt({123, 45}); });
    EXPECT_FALSE(slide.pressedAt({124, 45}));
    hand.tapKey(kKeyPageDown);
    waitUntil("the key", [&] { return slide.keysPressed() == std::vector{kKeyPageDown}; });
    waitUntil("the raw events", [&] { return recorder.events() == "mdu"; });

    const TestWindow popup(desktop, TestWindow::Kind::OverrideRedirect, kOther, {100, 50, 40, 30});
    slide.forget();
    hand.clickAt({110, 60}); // The popup's.
    hand.clickAt({10, 60});
    waitUntil("the second click", [&] { return slide.pressedAt({10, 60}); });
    EXPECT_FALSE(slide.pressedAt({110, 60}));
    EXPECT_TRUE(slide.focused());
}

TEST(RigDesktop, CursorIsSeenUnlessAClientHidesIt) {
    const Desktop desktop({.size = {640, 480}});
    const Screen screen(desktop);
    InputDevices hand(desktop);
    const TestWindow slide(desktop, TestWindow::Kind::FullScreen, kSlide);
    screen.waitForPixel({300, 200}, kSlide);
    hand.move({300, 200});
    waitUntil("the cursor", [&] { return screen.cursorVisible(); });
    {
        const XConnection hider(desktop.display());
        std::free(xcb_xfixes_query_version_reply(hider, xcb_xfixes_query_version(hider, 5, 0), nullptr));
        xcb_xfixes_hide_cursor(hider, hider.root());
        hider.sync();
        waitUntil("no cursor", [&] { return !screen.cursorVisible(); });
    }
    waitUntil("the cursor once its hider is gone", [&] { return screen.cursorVisible(); });
}

TEST(RigDesktop, CompositorAndScreenSizeChangeWhileItRuns) {
    Desktop desktop({.size = {800, 600}, .compositor = false});
    const Screen screen(desktop);
    const TestWindow slide(desktop, TestWindow::Kind::FullScreen, kSlide);
    screen.waitForPixel({5, 5}, kSlide);
    desktop.startCompositor();
    screen.waitForPixel({5, 5}, kSlide);
    desktop.setSize({640, 480});
    EXPECT_EQ(desktop.centre(), QPoint(320, 240));
    screen.waitForPixel({639, 479}, kSlide);
    desktop.stopCompositor();
    screen.waitForPixel({639, 479}, kSlide);
    desktop.setSize({800, 600});
    screen.waitForPixel({799, 599}, kSlide);
}

} // namespace
} // namespace companion::rig
