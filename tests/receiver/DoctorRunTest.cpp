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

Ended doctor(Environment environment, const HidrawTestbed &bed) {
    environment.merge(bed.environment());
    return runCompanion({"--doctor", "--receiver=1209:00ab"}, environment);
}

void expectAnswer(const Ended &answer, int status, const std::vector<std::string> &parts) {
    EXPECT_EQ(answer.status, status);
    for (const std::string &part : parts)
        EXPECT_NE(answer.out.find(part), std::string::npos) << part << "\n" << answer.out;
}

TEST(DoctorRun, HealthyMachineIsToldApartFromOnesThatLackReceiverPermissionOrCompositor) {
    Desktop desktop({.size = {800, 600}, .monitors = {{400, 0, 400, 600}, {0, 0, 400, 600}}});
    HidrawTestbed bed;
    HidrawDevice receiver(bed, 0x1209, 0x00AB);
    expectAnswer(doctor(desktop.environment(), bed), 1, {"1209:00AB is not plugged in"});

    receiver.plug(2);
    const Ended healthy = doctor(desktop.environment(), bed);
    expectAnswer(healthy, 0,
                 {"we may open /dev/hidraw2", "part0 400x600 at 400,0, scale 1, main; part1 400x600 at 0,0",
                  "windows      managed by Openbox", "compositor   runs: picom\n",
                  "The effects can work on this machine."});
    EXPECT_EQ(healthy.out.find("FAULT"), std::string::npos) << healthy.out;

    desktop.stopCompositor();
    expectAnswer(doctor(desktop.environment(), bed), 0, {"note   compositor"});

    receiver.setReachable(false);
    expectAnswer(doctor(desktop.environment(), bed), 1,
                 {"FAULT  permission   /dev/hidraw2: ", "KERNELS==\"0003:1209:00AB.*\""});
}

TEST(DoctorRun, MachineWithoutADisplayIsExaminedAllTheSameAndSoAreItsSettings) {
    HidrawTestbed bed;
    HidrawDevice receiver(bed, 0x1209, 0x00AB);
    receiver.plug();
    const QTemporaryDir config;
    QDir(config.path()).mkpath("presenter-companion/presenter-companion.conf"); // A folder in its place.
    Environment environment = inheritedEnvironment();
    environment["XDG_CONFIG_HOME"] = config.path().toStdString();
    const Ended answer = doctor(environment, bed);
    expectAnswer(answer, 1,
                 {"FAULT  X server     no X server: DISPLAY is not set", "we may open /dev/hidraw0",
                  "note   settings"});
    EXPECT_EQ(answer.out.find("screens"), std::string::npos) << answer.out;
}

TEST(DoctorRun, AnXServerThatCannotHaveTheOverlayIsAFault) {
    const Desktop desktop({.size = {640, 480},
                           .windowManager = false,
                           .compositor = false,
                           .serverOptions = {"-extension", "Composite"}});
    expectAnswer(
        doctor(desktop.environment(), HidrawTestbed()), 1,
        {"FAULT  X server     " + desktop.display() + ": the X server has no windows with an alpha channel",
         "640x480 at 0,0, scale 1, main"}); // The rest is known all the same.
}

} // namespace
} // namespace companion::rig
