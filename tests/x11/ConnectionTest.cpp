#include "x11/X11Fixture.h"

#include <QDir>

namespace companion {
namespace {

class ConnectionTest : public X11Fixture {
protected:
    // The process is about to exit: nothing removes the desktop's folder then.
    void loseServer() {
        QDir(QString::fromStdString(desktop->file("."))).removeRecursively();
        desktop->stopServer();
    }
};

TEST_F(ConnectionTest, AServerThatCannotBeReachedOrLacksAnExtensionIsNamed) {
    std::string error;
    EXPECT_EQ(makeX11Platform({queue, nullptr, ":4711"}, error), nullptr);
    EXPECT_EQ(error, "cannot reach the X server ':4711'");

    startServer({"-extension", "XFIXES"});
    EXPECT_EQ(makeX11Platform({queue, nullptr, desktop->display()}, error), nullptr);
    EXPECT_EQ(error, "the X server lacks the extension XFIXES");
}

TEST_F(ConnectionTest, WithoutXTestEverythingElseWorksAndOneLineSaysSo) {
    startServer({"-extension", "XTEST"});
    overlay->pretendCompositor();
    startPlatform();
    EXPECT_FALSE(platform->syntheticMouse().available());
    platform->syntheticMouse().post(SyntheticMouseEvent::MouseMoved, {5, 5});
    surface->setLevel(1002);
    EXPECT_TRUE(eventually([&] { return overlay->isMapped(overlay->drawn()); }));
    EXPECT_EQ(log.lines, std::vector<std::string>{
                             "the X server has no XTEST extension: no clicks at the screen's centre"});
}

TEST_F(ConnectionTest, TheProgramEndsPlainlyWhenTheServerGoesAway) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto tell = [](std::string_view text) {
        std::fprintf(stderr, "%.*s\n", int(text.size()), text.data());
    };
    const auto idle = [&] {
        startServer();
        startPlatform();
        Log::setSink(tell);
        loseServer();
        eventually([] { return false; });
    };
    EXPECT_EXIT(idle(), ::testing::ExitedWithCode(1), "the X server has gone; the program ends");
    const auto drawing = [&] {
        startServer();
        overlay->pretendCompositor();
        startPlatform();
        surface->setLevel(1002);
        Log::setSink(tell);
        loseServer();
        for (int i = 0; i < 1000; ++i)
            present({{}, {kScreen}, {kScreen}}, 0x80000000);
    };
    EXPECT_EXIT(drawing(), ::testing::ExitedWithCode(1), "the X server has gone; the program ends");
}

} // namespace
} // namespace companion
