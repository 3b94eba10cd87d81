// What the program says of whole machines. Root cannot be denied a node, so one that leads nowhere stands for
// it.
#include "support/rig/CompanionProcess.h"
#include "support/rig/Desktop.h"
#include "support/rig/HidrawDevice.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace companion::rig {
namespace {

struct Answer {
    int status;
    std::string text;
    bool has(const std::string &part) const { return text.find(part) != std::string::npos; }
};

Answer doctor(Environment environment, const HidrawTestbed &bed) {
    environment.merge(bed.environment());
    ChildProcess program({companionProgram(), "--doctor", "--receiver=1209:00ab"}, environment);
    const int status = program.waitForExit();
    return {status, program.out()};
}

TEST(DoctorRun, HealthyMachineIsToldApartFromOnesThatLackReceiverPermissionOrCompositor) {
    Desktop desktop({.size = {800, 600}});
    HidrawTestbed bed;
    HidrawDevice receiver(bed, 0x1209, 0x00AB);
    Answer answer = doctor(desktop.environment(), bed);
    EXPECT_EQ(answer.status, 1);
    EXPECT_TRUE(answer.has("1209:00AB is not plugged in")) << answer.text;

    receiver.plug(2);
    answer = doctor(desktop.environment(), bed);
    EXPECT_EQ(answer.status, 0);
    for (const char *part : {"we may open /dev/hidraw2", "800x600 at scale 1, main", "compositor   runs",
                             "The effects can work on this machine."})
        EXPECT_TRUE(answer.has(part)) << part << "\n" << answer.text;
    EXPECT_FALSE(answer.has("FAULT")) << answer.text;

    desktop.stopCompositor();
    answer = doctor(desktop.environment(), bed);
    EXPECT_EQ(answer.status, 0);
    EXPECT_TRUE(answer.has("note   compositor")) << answer.text;

    receiver.setReachable(false);
    answer = doctor(desktop.environment(), bed);
    EXPECT_EQ(answer.status, 1);
    EXPECT_TRUE(answer.has("FAULT  permission   /dev/hidraw2: ")) << answer.text;
    EXPECT_TRUE(answer.has("KERNELS==\"0003:1209:00AB.*\"")) << answer.text;
}

TEST(DoctorRun, MachineWithoutADisplayIsExaminedAllTheSame) {
    HidrawTestbed bed;
    HidrawDevice receiver(bed, 0x1209, 0x00AB);
    receiver.plug();
    const Answer answer = doctor(inheritedEnvironment(), bed);
    EXPECT_EQ(answer.status, 1);
    EXPECT_TRUE(answer.has("FAULT  X server     no X server: DISPLAY is not set")) << answer.text;
    EXPECT_TRUE(answer.has("we may open /dev/hidraw0")) << answer.text;
    EXPECT_FALSE(answer.has("screens")) << answer.text;
}

TEST(DoctorRun, AnXServerThatCannotHaveTheOverlayIsAFault) {
    Desktop desktop({.size = {640, 480},
                     .windowManager = false,
                     .compositor = false,
                     .serverOptions = {"-extension", "Composite"}});
    HidrawTestbed bed;
    HidrawDevice receiver(bed, 0x1209, 0x00AB);
    receiver.plug();
    const Answer answer = doctor(desktop.environment(), bed);
    EXPECT_EQ(answer.status, 1);
    EXPECT_TRUE(answer.has("FAULT  X server     " + desktop.display() +
                           ": the X server has no windows with an alpha channel"))
        << answer.text;
    EXPECT_TRUE(answer.has("640x480 at scale 1, main")) << "the rest is known all the same\n" << answer.text;
}

TEST(DoctorRun, SettingsThatTheProgramWouldLeaveAloneAreTold) {
    HidrawTestbed bed;
    const QTemporaryDir config;
    QDir(config.path()).mkpath("presenter-companion/presenter-companion.conf"); // A folder in its place.
    Environment environment = inheritedEnvironment();
    environment["XDG_CONFIG_HOME"] = config.path().toStdString();
    const Answer answer = doctor(environment, bed);
    EXPECT_TRUE(answer.has("note   settings")) << answer.text;
}

} // namespace
} // namespace companion::rig
