// The presence monitor over the installed libudev and nodes that behave as the kernel's.
#include "core/QtMainQueue.h"
#include "platform/udev/UdevHotplugWatch.h"
#include "receiver/DeviceManager.h"
#include "support/LogRecorder.h"
#include "support/rig/HidrawDevice.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

namespace companion::rig {
namespace {

using Bytes = HidrawDevice::Bytes;
using Lines = std::vector<std::string>;

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
    void waitForCalls(std::size_t count) {
        waitUntil(
            std::to_string(count) + " calls of the delegate",
            [&] {
                QCoreApplication::processEvents();
                return recorder->calls.size() >= count;
            },
            5s);
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
    EXPECT_EQ(log.lines.back(), "初始化 - 连接设备  设备列表  -- 0");
    device.setEvent({0x55, 0x66});
    device.plug();
    waitForCalls(2);
    EXPECT_EQ(recorder->calls, (Lines{"match", "data"}));
    Bytes answer(64);
    answer[0] = 0x55; // Without a report ID all bytes are the report's own.
    answer[1] = 0x66;
    EXPECT_EQ(recorder->data, answer);

    device.sendInput({0x01});
    waitForCalls(3);
    EXPECT_EQ(recorder->data, Bytes{0x01});
    device.sendInput(Bytes(64, 0x02));
    waitForCalls(4);
    EXPECT_EQ(recorder->data, Bytes(64, 0x02));
    manager->sendData(std::array<std::uint8_t, 8>{1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(device.outputs(), std::vector<Bytes>{(Bytes{0, 1, 2, 3, 4, 5, 6, 7, 8})});

    device.unplug();
    waitForCalls(5);
    EXPECT_EQ(recorder->calls.back(), "remove");
    EXPECT_EQ(manager->getDeviceRef(), nullptr);
    device.plug(3);
    waitForCalls(7);
    EXPECT_EQ(recorder->calls[5], "match");
}

TEST_F(HotplugWatchTest, DeviceThatIsThereAlreadyMatchesOnALaterTurn) {
    device.plug();
    const auto manager = make();
    EXPECT_EQ(log.lines, Lines{"打开设备成功!"});
    EXPECT_EQ(manager->getDeviceRef(), nullptr);
    waitForCalls(2);
    EXPECT_EQ(recorder->calls, (Lines{"match", "data"}));
}

TEST_F(HotplugWatchTest, SilentDeviceDoesNotHoldUpTheMainThreadAndTimesOutAfterASecond) {
    device.setDelay(5s);
    const auto manager = make();
    device.plug();
    waitForCalls(1);
    const auto asked = std::chrono::steady_clock::now();
    waitForCalls(2);
    const auto waited = std::chrono::steady_clock::now() - asked;
    EXPECT_EQ(log.lines.back(), "接受到数据--2");
    EXPECT_TRUE(recorder->data.empty());
    EXPECT_GT(waited, 900ms);
    EXPECT_LT(waited, 1500ms);
}

} // namespace
} // namespace companion::rig
