// How the program answers to its command line and to a missing display.
#include "e2e/Talk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace companion::rig {
namespace {

struct Refusal {
    std::vector<std::string> arguments;
    std::string named; // What the message must name.
};

int lineCount(const std::string &text) {
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

void expectRefused(const Environment &environment, const Refusal &refusal, int status) {
    std::vector<std::string> command{companionProgram()};
    command.insert(command.end(), refusal.arguments.begin(), refusal.arguments.end());
    ChildProcess child(command, environment);
    SCOPED_TRACE("arguments: " + ::testing::PrintToString(refusal.arguments));
    EXPECT_EQ(child.waitForExit(), status);
    EXPECT_NE(child.err().find(refusal.named), std::string::npos) << child.err();
    EXPECT_EQ(lineCount(child.err()), 1) << child.err();
    EXPECT_EQ(child.out(), "");
}

TEST(CommandLine, WhatIsWrongIsNamedInOneLineAndEndsTheProgramWithStatusTwo) {
    const Desktop desktop({.size = {640, 480}, .windowManager = false, .compositor = false});
    std::ofstream(desktop.file("bad-script")) << "event 10\nevent 1G\n";
    const Refusal refusals[] = {
        {{"--no-such-option"}, "--no-such-option"},
        {{"stray"}, "stray"},
        {{"--receiver"}, "--receiver"},
        {{"--receiver=12090:0001"}, "12090"},
        {{"--virtual-receiver=" + desktop.file("no-such-folder/socket")}, "no-such-folder/socket"},
        {{"--virtual-receiver=" + desktop.file("bad-script")}, "1G"},
    };
    for (const Refusal &refusal : refusals)
        expectRefused(desktop.environment(), refusal, 2);
}

TEST(CommandLine, WithoutAnXServerThereIsOneMessageAndStatusOne) {
    const Desktop desktop({.size = {640, 480}, .windowManager = false, .compositor = false});
    Environment environment = desktop.environment();
    environment["DISPLAY"] = ":64999";
    expectRefused(environment, {{"--virtual-receiver"}, ":64999"}, 1);
    environment.erase("DISPLAY");
    expectRefused(environment, {{"--virtual-receiver"}, "DISPLAY"}, 1);
}

TEST(CommandLine, WhatCannotBePrintedIsAnError) {
    for (const char *action : {"--help", "--version", "--doctor"}) {
        ChildProcess child({"sh", "-c", "exec \"$0\" \"$1\" >/dev/full", companionProgram(), action},
                           inheritedEnvironment());
        EXPECT_EQ(child.waitForExit(), 1) << action;
        EXPECT_NE(child.err().find("standard output: No space left"), std::string::npos) << child.err();
    }
}

// As when the X server dies while the toolkit is starting.
TEST(CommandLine, AToolkitThatGivesUpEndsTheProgramWithStatusOneAndNoCore) {
    const Desktop desktop({.size = {640, 480}, .windowManager = false, .compositor = false});
    const std::string program = desktop.file("program");
    std::filesystem::copy(companionProgram(), program);
    std::ofstream(desktop.file("qt.conf")) << "[Paths]\nPlugins=nowhere\n";
    for (const char *action : {"--virtual-receiver", "--doctor"}) {
        ChildProcess child({program, action}, desktop.environment());
        EXPECT_EQ(child.waitForExit(), 1) << action;
        EXPECT_NE(child.err().find("presenter-companion: This application failed"), std::string::npos)
            << child.err();
    }
}

TEST(WaylandSession, IsToldInOneLine) {
    const Desktop desktop({.size = {640, 480}, .windowManager = false, .compositor = false});
    Environment environment = desktop.environment();
    environment["WAYLAND_DISPLAY"] = "wayland-0";
    CompanionProcess companion(desktop, CompanionProcess::Options{.environment = environment});
    const auto log = companion.log();
    EXPECT_EQ(std::count_if(log.begin(), log.end(),
                            [](const auto &line) { return line.text.starts_with("Wayland session"); }),
              1);
}

TEST(ReceiverCommands, ComeFromStandardInputAndFromAScriptToo) {
    const Desktop desktop({.size = {640, 480}});
    const Screen screen(desktop);
    const TestWindow slide(desktop, TestWindow::Kind::FullScreen, kSlideColour);
    const std::string settings = settingsFile(desktop);
    ASSERT_EQ(std::system(("mkdir -p '" + settings.substr(0, settings.rfind('/')) + "'").c_str()), 0);
    std::ofstream(settings) << "[General]\nLOCAL_MOUSETYPE=2\n";
    std::ofstream(desktop.file("script")) << "# A comment\nwait 300\nevent 10\nwait 1500\nevent 00\n";
    const QRgb dot = blend(kSlideColour, qRgb(255, 0, 0), 0.8);
    {
        ChildProcess child({companionProgram(), "--virtual-receiver=-"}, desktop.environment(), true);
        child.write("event 10\n");
        screen.waitForPixel(desktop.centre(), dot);
        EXPECT_EQ(child.out(), "ok\n");
        child.signal(SIGTERM);
        EXPECT_EQ(child.waitForExit(), 0);
    }
    screen.waitForPixel(desktop.centre(), kSlideColour);
    ChildProcess child({companionProgram(), "--virtual-receiver=" + desktop.file("script")},
                       desktop.environment());
    screen.waitForPixel(desktop.centre(), dot);
    screen.waitForPixel(desktop.centre(), kSlideColour);
}

TEST(Demo, ShowsEachEffectAndEndsByItself) {
    const Desktop desktop({.size = {800, 600}});
    const Screen screen(desktop);
    const TestWindow slide(desktop, TestWindow::Kind::FullScreen, kSlideColour);
    ChildProcess demo({companionProgram(), "--demo"}, desktop.environment());
    for (const std::string effect : {"spotlight", "laser", "magnifier"}) {
        demo.waitForError("demo: " + effect, 30s);
        screen.waitFor("the demo's " + effect, QRect(0, 0, 800, 600), [](const QImage &image) {
            for (int y = 0; y < image.height(); y += 4)
                for (int x = 0; x < image.width(); x += 4)
                    if (!sameColour(image.pixel(x, y), kSlideColour))
                        return true;
            return false;
        });
    }
    demo.waitForError("demo: end", 30s);
    EXPECT_EQ(demo.waitForExit(), 0);
    screen.waitForPixel(desktop.centre(), kSlideColour);
}

} // namespace
} // namespace companion::rig
