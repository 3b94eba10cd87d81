// The presence monitor over the installed libudev and nodes that behave as the kernel's.
#include "core/QtMainQueue.h"
#include "platform/udev/UdevHotplugWatch.h"
#include "receiver/DeviceManager.h"
#include "support/LogRecorder.h"
#include "support/rig/HidrawDevice.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace companion::rig {
namespace {

using Bytes = HidrawDevice::Bytes;
using Lines = std::vector<std::string>;
constexpr std::array<std::uint8_t, 8> kData = {1, 2, 3, 4, 5, 6, 7, 8};

class Recorder final : public DeviceManagerDelegate {
public:
    void usbhidDidMatch() override { calls.emplace_back("match"); }
    void usbhidDidRemove() override { calls.emplace_back("remove"); }
    void usbhidDidRecvData(const std::uint8_t *bytes, std::int64_t length) override {
        calls.emplace_back("data");
        data.assign(bytes, bytes + length);
    }
    Lines calls;
    Bytes data;
};

class HotplugWatchTest : public ::testing::Test {
protected:
    void await(const std::string &what, const std::function<bool()> &condition) {
        const auto turn = [&] { return QCoreApplication::processEvents(), condition(); };
        waitUntil(what, turn, 5s);
    }
    void waitForCalls(std::size_t count) {
        await("calls of the delegate", [&] { return recorder->calls.size() >= count; });
    }
    // What a change of the devices was logged as, behind the device's address.
    bool logged(const std::string &text) const {
        return std::any_of(log.lines.begin(), log.lines.end(),
                           [&](const auto &line) { return line.ends_with(" \n" + text); });
    }
    std::shared_ptr<DeviceManager> make() {
        auto manager = DeviceManager::alloc();
        manager->setDelegate(recorder);
        return manager;
    }

    HidrawTestbed bed;
    HidrawDevice device{bed, 0xF055, 0x0002};
    LogRecorder log;
    QtMainQueue queue;
    std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
    DeviceManager::UseNeeds needs{{[this] { return makeUdevHotplugWatch(queue); }, 0xF055, 0x0002}};
};

TEST_F(HotplugWatchTest, DeviceIsFoundReadWrittenToAndMissed) {
    HidrawDevice other(bed, 0xF055, 0x0003);
    other.plug(7);
    const auto manager = make();
    EXPECT_EQ(DeviceManager::sharedInstance(), manager);
    EXPECT_EQ(log.lines, (Lines{"打开设备成功!", "初始化 - 连接设备  设备列表  -- 0"}));
    manager->sendData(kData);
    EXPECT_EQ(log.lines.back(), "没有找到设备 - ");
    device.setEvent({0x55, 0x66});
    device.plug();
    waitForCalls(2);
    EXPECT_EQ(recorder->calls, (Lines{"match", "data"}));
    EXPECT_EQ(log.count("打开成功"), 1U);
    EXPECT_TRUE(logged("设备插入,现在usb设备数量:1"));
    EXPECT_EQ(log.lines.back(), "接受到数据--2");
    Bytes answer(64);
    answer[0] = 0x55; // Without a report ID all bytes are the report's own.
    answer[1] = 0x66;
    EXPECT_EQ(recorder->data, answer);

    device.sendInput({0x01});
    waitForCalls(3);
    EXPECT_EQ(recorder->data, Bytes{0x01});
    EXPECT_EQ(log.lines.back(), "接受到数据--1");
    manager->sendData(kData);
    EXPECT_EQ(log.lines.back(), "发送数据成功!");
    EXPECT_EQ(device.outputs(), std::vector<Bytes>{(Bytes{0, 1, 2, 3, 4, 5, 6, 7, 8})});

    device.unplug();
    waitForCalls(4);
    EXPECT_EQ(recorder->calls.back(), "remove");
    EXPECT_TRUE(logged("设备拔出,现在usb设备数量:0"));
    EXPECT_EQ(manager->getDeviceRef(), nullptr);
    device.plug(3);
    waitForCalls(6);
    EXPECT_EQ(recorder->calls[4], "match");
}

TEST_F(HotplugWatchTest, DeviceThatIsThereAlreadyMatchesOnALaterTurnEvenIfItCannotBeOpened) {
    device.setReachable(false);
    device.plug();
    const auto manager = make();
    EXPECT_EQ(log.lines, Lines{"打开设备成功!"});
    EXPECT_EQ(manager->getDeviceRef(), nullptr);
    waitForCalls(1);
    EXPECT_EQ(log.count("打开失败"), 1U);
    EXPECT_EQ(recorder->calls, Lines{"match"});
    manager->sendData(kData);
    EXPECT_EQ(log.lines.back(), "发送数据失败!");
}

TEST_F(HotplugWatchTest, SecondDeviceTakesThePlaceOfTheFirstAndTheRemovalOfEitherEndsIt) {
    HidrawDevice other(bed, 0xF055, 0x0002);
    const auto manager = make();
    device.plug();
    waitForCalls(2);
    auto *first = manager->getDeviceRef();
    other.plug(3);
    waitForCalls(4);
    auto *second = manager->getDeviceRef();
    EXPECT_NE(second, first);
    EXPECT_TRUE(logged("设备插入,现在usb设备数量:2"));
    device.unplug();
    waitForCalls(5);
    EXPECT_TRUE(logged("设备拔出,现在usb设备数量:1"));
    EXPECT_EQ(manager->getDeviceRef(), nullptr);
    other.sendInput({1}); // It is still listened to.
    waitForCalls(6);
    EXPECT_EQ(recorder->data, Bytes{1});
    manager->connectHID();
    EXPECT_EQ(manager->getDeviceRef(), second);
    EXPECT_EQ(log.lines.back(), "连接设备  设备列表  -- 1");
}

TEST_F(HotplugWatchTest, SilentDeviceDoesNotHoldUpTheMainThreadAndTimesOutAfterASecond) {
    device.delay = 5s;
    const auto manager = make();
    device.plug();
    waitForCalls(1);
    const auto asked = std::chrono::steady_clock::now();
    waitForCalls(2);
    EXPECT_NEAR(double((std::chrono::steady_clock::now() - asked) / 1ms), 1200, 300);
    EXPECT_TRUE(recorder->data.empty());
}

} // namespace
} // namespace companion::rig
