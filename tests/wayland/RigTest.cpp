// The rig itself on Wayland compositors: what the tests of the program there stand on.
#include "e2e/Talk.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace companion::rig {
namespace {

constexpr QSize kRigSize(600, 450);

struct Seat {
    explicit Seat(Compositor compositor, double scale, std::uint32_t seed)
        : desktop({.size = kRigSize, .wayland = compositor, .scale = scale}),
          picture(noise(kRigSize, seed).convertToFormat(QImage::Format_RGB32)) {
        slide.setPicture(picture);
    }
    std::string folder() const {
        return std::filesystem::path(desktop.environment().at("WAYLAND_DISPLAY")).parent_path();
    }

    Desktop desktop;
    const QImage picture;
    Screen screen{desktop};
    InputDevices hand{desktop};
    TestWindow slide{desktop, TestWindow::Kind::FullScreen, kSlideColour};
};

// Programs with this in their environment.
int runningWith(const std::string &text) {
    int count = 0;
    for (const auto &process : std::filesystem::directory_iterator("/proc")) {
        std::ifstream file(process.path() / "environ");
        const std::string variables{std::istreambuf_iterator<char>(file), {}};
        count += variables.find(text) != std::string::npos ? 1 : 0;
    }
    return count;
}

class RigOn : public ::testing::TestWithParam<Compositor> {};

TEST_P(RigOn, TwoDesktopsShowPixelsAndTakeClicksAndKeysEachForItselfAndLeaveNothingRunning) {
    std::string folders[2];
    {
        Seat one(GetParam(), 1.5, 1);
        Seat two(GetParam(), 1, 99);
        one.screen.waitFor("the first picture", QRect({}, kRigSize),
                           [&](const QImage &seen) { return seen == one.picture; });
        two.screen.waitFor("the second picture", QRect({}, kRigSize),
                           [&](const QImage &seen) { return seen == two.picture; });
        // Whole points at that scale: KWin 5 puts the mouse nowhere else.
        for (const QPoint at : {QPoint(0, 0), {102, 105}, {597, 447}}) {
            one.slide.forget();
            one.hand.clickAt(at);
            one.hand.tapKey(kKeyPageDown);
            waitUntil("a click and a key",
                      [&] { return one.slide.buttons().size() == 2 && one.slide.keysPressed().size() == 1; });
            EXPECT_TRUE(one.slide.pressedAt(at));
            EXPECT_EQ(one.slide.keysPressed()[0], kKeyPageDown);
        }
        EXPECT_TRUE(two.slide.buttons().empty());
        EXPECT_TRUE(two.slide.keysPressed().empty());
        folders[0] = one.folder();
        folders[1] = two.folder();
        EXPECT_GT(runningWith(folders[0]), 0);
    }
    for (const std::string &folder : folders) {
        EXPECT_EQ(runningWith(folder), 0);
        EXPECT_FALSE(std::filesystem::exists(folder));
    }
}

INSTANTIATE_TEST_SUITE_P(Wayland, RigOn, ::testing::Values(Compositor::Sway, Compositor::KWin),
                         [](const auto &each) { return nameOf(each.param); });

} // namespace
} // namespace companion::rig
