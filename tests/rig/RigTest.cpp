// What a test that fails or is killed leaves: nothing that runs, and a picture.
#include "support/rig/Screen.h"
#include "support/rig/TestWindow.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace companion::rig {
namespace {

constexpr QRgb kSlide = qRgb(0x33, 0x66, 0x99);
constexpr QRgb kOther = qRgb(0xC0, 0x20, 0x10);

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

} // namespace
} // namespace companion::rig
