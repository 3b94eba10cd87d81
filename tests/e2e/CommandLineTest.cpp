// How the program answers to its command line and to a missing display.
#include "e2e/Talk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>

namespace companion::rig {
namespace {

const DesktopOptions kBare{.size = {640, 480}, .windowManager = false, .compositor = false};

void expectRefused(const Command &arguments, const Environment &environment, int status,
                   const std::string &named) {
    const Ended ended = runCompanion(arguments, environment);
    EXPECT_EQ(ended.status, status) << arguments.front();
    EXPECT_NE(ended.err.find(named), std::string::npos) << ended.err;
    EXPECT_EQ(std::count(ended.err.begin(), ended.err.end(), '\n'), 1) << ended.err;
    EXPECT_EQ(ended.out, "");
}

TEST(CommandLine, WhatIsWrongIsNamedInOneLineAndEndsTheProgramWithAStatus) {
    const Desktop desktop(kBare);
    Environment environment = desktop.environment();
    std::ofstream(desktop.file("bad-script")) << "event 10\nevent 1G\n";
    const std::pair<std::string, std::string> refusals[] = {
        {"--no-such-option", "--no-such-option"},
        {"stray", "stray"},
        {"--receiver", "--receiver"},
        {"--receiver=12090:0001", "12090"},
        {"--virtual-receiver=" + desktop.file("no-such-folder/socket"), "no-such-folder/socket"},
        {"--virtual-receiver=" + desktop.file("bad-script"), "1G"},
    };
    for (const auto &[argument, named] : refusals)
        expectRefused({argument}, environment, 2, named);
    environment["DISPLAY"] = ":64999";
    expectRefused({"--virtual-receiver"}, environment, 1, ":64999");
    environment.erase("DISPLAY");
    expectRefused({"--virtual-receiver"}, environment, 1, "DISPLAY");
}

TEST(CommandLine, WhatCannotBePrintedIsAnError) {
    for (const char *action : {"--help", "--version", "--doctor"}) {
        const Ended ended =
            runToEnd({"sh", "-c", "exec \"$0\" \"$1\" >/dev/full", companionProgram(), action},
                     inheritedEnvironment());
        EXPECT_EQ(ended.status, 1) << action;
        EXPECT_NE(ended.err.find("standard output: No space left"), std::string::npos) << ended.err;
    }
}

TEST(VirtualReceiver, ObeysAScriptAndStandardInputToTheirEndAndTheProgramRunsOn) {
    const Desktop desktop(kBare);
    const std::string commands = "wait-get 2\nonce 02\nwait-get 2\nevent 10\n";
    std::ofstream(desktop.file("script")) << commands;
    for (const std::string &source : {desktop.file("script"), std::string("-")}) {
        ChildProcess program({companionProgram(), "--virtual-receiver=" + source}, desktop.environment(),
                             true);
        program.write(commands);
        program.waitForError("获得数据 12, 2");
        program.waitForError("获得数据 12,10");
        letTimePass(300ms);
        EXPECT_TRUE(program.running()) << program.err();
    }
}

// As when the X server dies while the toolkit is starting.
TEST(CommandLine, AToolkitThatGivesUpEndsTheProgramWithStatusOneAndNoCore) {
    const Desktop desktop(kBare);
    const std::string program = desktop.file("program");
    std::filesystem::copy(companionProgram(), program);
    std::ofstream(desktop.file("qt.conf")) << "[Paths]\nPlugins=nowhere\n";
    for (const char *action : {"--virtual-receiver", "--doctor"}) {
        const Ended ended = runToEnd({program, action}, desktop.environment());
        EXPECT_EQ(ended.status, 1) << action;
        EXPECT_NE(ended.err.find("presenter-companion: This application failed"), std::string::npos)
            << ended.err;
    }
}

TEST(CommandLine, AnXServerThatNeverAnswersIsGivenUpWithinFiveSeconds) {
    const Desktop desktop(kBare);
    kill(desktop.serverPid(), SIGSTOP); // Its socket goes on taking connections.
    const auto before = std::chrono::steady_clock::now();
    ChildProcess start({companionProgram(), "--virtual-receiver"}, desktop.environment());
    ChildProcess doctor({companionProgram(), "--doctor"}, desktop.environment());
    for (ChildProcess *program : {&start, &doctor}) {
        EXPECT_EQ(program->waitForExit(), 1);
        EXPECT_NE(program->err().find("does not answer"), std::string::npos) << program->err();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - before, 5s);
    kill(desktop.serverPid(), SIGCONT); // To be ended.
}

TEST(Demo, ShowsEachEffectAndEndsByItselfAndTellsOnceOfAWaylandSession) {
    const Desktop desktop({.size = {800, 600}});
    const Screen screen(desktop);
    const TestWindow slide(desktop, TestWindow::Kind::FullScreen, kSlideColour);
    Environment environment = desktop.environment();
    environment["WAYLAND_DISPLAY"] = "wayland-0";
    ChildProcess demo({companionProgram(), "--demo"}, environment);
    for (const std::string effect : {"spotlight", "laser", "magnifier"}) {
        demo.waitForError("demo: " + effect, 30s);
        screen.waitFor("the demo's " + effect, QRect(0, 0, 800, 600), [](const QImage &image) {
            QImage plain = image;
            plain.fill(kSlideColour);
            return image != plain;
        });
    }
    demo.waitForError("demo: end", 30s);
    EXPECT_EQ(demo.waitForExit(), 0);
    screen.waitForPixel(desktop.centre(), kSlideColour);
    const std::string log = demo.err();
    const auto told = log.find("Wayland session");
    EXPECT_NE(told, std::string::npos) << log;
    EXPECT_EQ(told, log.rfind("Wayland session")) << log;
}

} // namespace
} // namespace companion::rig
