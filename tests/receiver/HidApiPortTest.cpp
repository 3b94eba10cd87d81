// The receiver link over the installed HIDAPI, on virtual time.
#include "platform/hidapi/HidApiPort.h"
#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "receiver/HidManager.h"
#include "support/LogRecorder.h"
#include "support/OwnMemory.h"
#include "support/VirtualMainQueue.h"
#include "support/rig/HidrawDevice.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>

namespace companion::rig {
namespace {

using Bytes = HidrawDevice::Bytes;

int openFiles() {
    return static_cast<int>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

class HidApiPortTest : public ::testing::Test {
protected:
    HidApiPortTest() {
        center.addObserver(life, LOCAL_DEVICECONNECT, [this](const Notification &) { ++connects; });
        center.addObserver(life, LOCAL_DEVICEDISCONNECT, [this](const Notification &) { ++disconnects; });
    }

    HidrawTestbed bed;
    HidrawDevice device{bed, 0x1209, 0x00AB};
    LogRecorder log;
    VirtualMainQueue queue;
    NotificationCenter center;
    HidApiPort hid;
    Lifetime life;
    int connects = 0;
    int disconnects = 0;
    HidManager link{{queue, center, hid, 0x1209, 0x00AB}};
};

TEST_F(HidApiPortTest, TheInterfaceThatAnswersIsFoundBehindKeyboards) {
    using enum HidrawDevice::Interface;
    HidrawDevice receiver(bed, 0x1209, 0x00AB, {Keyboard, Keyboard, Vendor});
    receiver.setEvent({0x20}); // Means nothing, but is logged.
    receiver.plug();
    link.initManager();
    queue.advance(1000ms);
    EXPECT_EQ(log.count("获得数据 12,20, 0, 0"), 6U);
    receiver.unplug();
    receiver.plug();
    queue.advance(1100ms);
    EXPECT_GE(log.count("获得数据 12,20, 0, 0"), 12U);
}

TEST_F(HidApiPortTest, ANodeThatCannotBeOpenedYetIsTriedAgainInSilence) {
    device.setReachable(false);
    device.plug();
    link.initManager();
    queue.advance(2000ms);
    EXPECT_EQ(device.reads, 0);
    EXPECT_TRUE(log.lines.empty()) << log.lines.front();
    device.setReachable(true);
    queue.advance(1000ms);
    EXPECT_GE(connects, 5);
}

TEST_F(HidApiPortTest, TimerTravelsInSixtyFourBytesOfWhichTheSecondIsItsLowEight) {
    link.sendTimerWithTimeInt(45);
    device.plug();
    link.initManager();
    queue.advance(500ms);
    link.sendTimerWithTimeInt(45);
    link.sendTimerWithTimeInt(300);
    device.unplug();
    link.sendTimerWithTimeInt(5);
    Bytes first(64);
    first[0] = 0x12;
    first[1] = 45;
    Bytes second = first;
    second[1] = 0x2C;
    EXPECT_EQ(device.written(), (std::vector{first, second}));
}

TEST_F(HidApiPortTest, EachPullIsToldOnceAndAStallIsNone) {
    device.plug();
    link.initManager();
    queue.advance(1000ms);
    EXPECT_EQ(connects, 6);
    device.stalled = true;
    queue.advance(1000ms);
    EXPECT_EQ(connects, 16);
    EXPECT_EQ(disconnects, 0);
    device.unplug();
    queue.advance(5000ms);
    EXPECT_EQ(disconnects, 1);
    device.plug();
    device.stalled = false;
    queue.advance(500ms);
    device.unplug(); // And back between two polls, under another node.
    device.plug(5);
    queue.advance(600ms);
    EXPECT_EQ(disconnects, 2);
}

TEST_F(HidApiPortTest, AThousandPlugsAndPullsAtRandomMomentsLeaveFilesMemoryAndPassesAsTheyWere) {
    std::minstd_rand random(9); // Any fixed seed.
    link.initManager();
    const auto cycle = [&](int times) {
        for (int i = 0; i < times; ++i) {
            device.plug();
            queue.advance(milliseconds(random() % 900));
            device.unplug();
            queue.advance(milliseconds(random() % 900));
        }
        device.plug();
        queue.advance(1100ms);
    };
    cycle(20);
    const int files = openFiles();
    [[maybe_unused]] const long memory = ownKilobytes("RssAnon");
    cycle(1000);
    EXPECT_EQ(openFiles(), files);
#ifndef __SANITIZE_ADDRESS__ // It keeps what was freed.
    EXPECT_LT(ownKilobytes("RssAnon") - memory, 2048);
#endif
    EXPECT_EQ(queue.pending(), 1U);
    connects = 0;
    queue.advance(1000ms);
    EXPECT_EQ(connects, 10);
}

} // namespace
} // namespace companion::rig
