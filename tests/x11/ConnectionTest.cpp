#include "x11/X11Fixture.h"

namespace companion {
namespace {

class ConnectionTest : public X11Fixture {};

TEST_F(ConnectionTest, AServerThatCannotBeReachedOrLacksAnExtensionIsNamed) {
    std::string error;
    EXPECT_EQ(makeX11Platform({queue, nullptr, ":4711"}, error), nullptr);
    EXPECT_EQ(error, "cannot reach the X server ':4711'");

    startServer({"-extension", "XFIXES"});
    EXPECT_EQ(makeX11Platform({queue, nullptr, server->displayName()}, error), nullptr);
    EXPECT_EQ(error, "the X server lacks the extension XFIXES");
}

TEST_F(ConnectionTest, WithoutXTestEverythingElseWorksAndOneLineSaysSo) {
    startServer({"-extension", "XTEST"});
    client->pretendCompositor(true);
    startPlatform();
    EXPECT_FALSE(platform->syntheticMouse().available());
    platform->syntheticMouse().post(SyntheticMouseEvent::MouseMoved, {5, 5});
    surface->setLevel(1002);
    EXPECT_TRUE(eventually([&] { return client->isMapped(client->drawn()); }));
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
        server->kill();
        eventually([] { return false; });
    };
    EXPECT_EXIT(idle(), ::testing::ExitedWithCode(1), "the X server has gone; the program ends");
    const auto drawing = [&] {
        startServer();
        client->pretendCompositor(true);
        startPlatform();
        surface->setLevel(1002);
        Log::setSink(tell);
        server->kill();
        for (int i = 0; i < 1000; ++i)
            present({{}, {QRect(0, 0, 1920, 1080)}, {QRect(0, 0, 1920, 1080)}}, 0x80000000);
    };
    EXPECT_EXIT(drawing(), ::testing::ExitedWithCode(1), "the X server has gone; the program ends");
}

} // namespace
} // namespace companion
