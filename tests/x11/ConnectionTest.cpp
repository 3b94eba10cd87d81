#include "x11/X11Fixture.h"

namespace companion {
namespace {

using ConnectionTest = X11Fixture;

TEST_F(ConnectionTest, AServerThatCannotBeReachedOrLacksAnExtensionIsNamed) {
    std::string error;
    EXPECT_EQ(makeX11Platform({queue, nullptr, {}, ":4711"}, error), nullptr);
    EXPECT_EQ(error, "cannot reach the X server ':4711'");

    startServer({"-extension", "XFIXES"});
    EXPECT_EQ(makeX11Platform({queue, nullptr, {}, desktop->display()}, error), nullptr);
    EXPECT_EQ(error, "the X server lacks the extension XFIXES");
}

TEST_F(ConnectionTest, WithoutXTestEverythingElseWorksAndOneLineSaysSo) {
    startServer({"-extension", "XTEST"});
    overlay->pretendCompositor();
    startPlatform();
    EXPECT_FALSE(platform->syntheticMouse().available());
    platform->syntheticMouse().post(SyntheticMouseEvent::MouseMoved, {5, 5});
    surface->setLevel(1002);
    present({{{kScreen, 0x80800000}}, {}, {kScreen}});
    EXPECT_TRUE(eventually([&] { return overlay->isMapped(overlay->drawn()); }));
    EXPECT_EQ(log.lines, std::vector<std::string>{
                             "the X server has no XTEST extension: no clicks at the screen's centre"});
}

} // namespace
} // namespace companion
