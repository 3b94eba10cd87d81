#include "receiver/DeviceManager.h"

#include "support/FakeHotplugWatch.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <thread>

namespace companion {
namespace {

using Lines = std::vector<std::string>;
constexpr std::array<std::uint8_t, 8> kData = {1, 2, 3, 4, 5, 6, 7, 8};

class Recorder final : public DeviceManagerDelegate {
public:
    void usbhidDidMatch() override { calls.emplace_back("match"); }
    void usbhidDidRemove() override { calls.emplace_back("remove"); }
    void usbhidDidRecvData(const std::uint8_t *bytes, std::int64_t length) override {
        calls.push_back("data " + std::to_string(length));
        data.assign(bytes, bytes + length);
    }
    Lines calls;
    std::vector<std::uint8_t> data;
};

std::string changeLine(HotplugWatch::Device *device, const std::string &text) {
    char pointer[32];
    std::snprintf(pointer, sizeof pointer, "%p", static_cast<void *>(device));
    return pointer + (" \n" + text);
}

class DeviceManagerTest : public ::testing::Test {
protected:
    // The watch of the latest instance.
    FakeHotplugWatch &watch() { return *m_watch; }

    std::shared_ptr<DeviceManager> make() {
        auto manager = DeviceManager::alloc();
        manager->setDelegate(recorder);
        return manager;
    }

    LogRecorder log;
    bool works = true;
    int devicesAtStart = 0;
    int made = 0;
    std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
    FakeHotplugWatch *m_watch = nullptr;
    DeviceManager::UseNeeds needs{{[this] {
                                       auto watch = std::make_unique<FakeHotplugWatch>();
                                       watch->works = works;
                                       for (int i = 0; i < devicesAtStart; ++i)
                                           watch->plug();
                                       m_watch = watch.get();
                                       ++made;
                                       return watch;
                                   },
                                   0xF055, 0x0002}};
};

TEST_F(DeviceManagerTest, StartWithoutADeviceSaysSoAndIsSilentThen) {
    const auto manager = make();
    EXPECT_EQ(log.lines, (Lines{"打开设备成功!", "初始化 - 连接设备  设备列表  -- 0"}));
    EXPECT_EQ(watch().matching, "61525:2");
    EXPECT_EQ(manager->getManageRef(), m_watch);
    manager->sendData(kData);
    EXPECT_EQ(log.lines.back(), "没有找到设备 - ");
    EXPECT_TRUE(watch().outputs.empty());
}

TEST_F(DeviceManagerTest, StartWithADeviceDoesNotCountAndAFailedStartDoesNotListen) {
    devicesAtStart = 1;
    make();
    EXPECT_EQ(log.lines, Lines{"打开设备成功!"});
    log.lines.clear();
    devicesAtStart = 0;
    works = false;
    make();
    watch().plug();
    EXPECT_EQ(log.lines, Lines{"打开设备失败!"});
    EXPECT_TRUE(recorder->calls.empty());
}

TEST_F(DeviceManagerTest, PluggedInDeviceIsOpenedReadAndReported) {
    const auto manager = make();
    log.lines.clear();
    auto *device = watch().plug();
    EXPECT_EQ(log.lines, (Lines{"打开成功", changeLine(device, "设备插入,现在usb设备数量:1")}));
    EXPECT_EQ(manager->getDeviceRef(), device);
    EXPECT_EQ(watch().asked, (std::vector{0, 64, 1000}));
    EXPECT_EQ(recorder->calls, Lines{"match"});

    device->answer(std::vector<std::uint8_t>(64, 7));
    EXPECT_EQ(log.lines.back(), "接受到数据--2");
    EXPECT_EQ(recorder->data, std::vector<std::uint8_t>(64, 7));
    for (const std::size_t length : {1U, 64U}) {
        watch().input(device, std::vector<std::uint8_t>(length, 9));
        EXPECT_EQ(log.lines.back(), "接受到数据--1");
        EXPECT_EQ(recorder->data, std::vector<std::uint8_t>(length, 9));
    }
    manager->sendData(kData);
    EXPECT_EQ(log.lines.back(), "发送数据成功!");
    EXPECT_EQ(watch().outputs.back(), (std::vector<std::uint8_t>{0, 1, 2, 3, 4, 5, 6, 7, 8}));

    watch().unplug(device);
    EXPECT_EQ(log.lines.back(), changeLine(device, "设备拔出,现在usb设备数量:0"));
    EXPECT_EQ(manager->getDeviceRef(), nullptr);
    EXPECT_EQ(recorder->calls, (Lines{"match", "data 64", "data 1", "data 64", "remove"}));
}

TEST_F(DeviceManagerTest, DeviceThatCannotBeOpenedIsReportedAllTheSameAndADelegateMayBeMissing) {
    const auto manager = make();
    watch().plug(false);
    EXPECT_EQ(log.lines[log.lines.size() - 2], "打开失败");
    EXPECT_EQ(recorder->calls, Lines{"match"});
    manager->sendData(kData);
    EXPECT_EQ(log.lines.back(), "发送数据失败!");
    manager->setDelegate(nullptr);
    auto *device = watch().plug();
    device->answer({});
    watch().input(device, {1});
    watch().unplug(device);
}

TEST_F(DeviceManagerTest, SecondDeviceTakesThePlaceOfTheFirstAndTheRemovalOfEitherEndsIt) {
    const auto manager = make();
    auto *first = watch().plug();
    auto *second = watch().plug();
    EXPECT_EQ(log.lines.back(), changeLine(second, "设备插入,现在usb设备数量:2"));
    EXPECT_EQ(manager->getDeviceRef(), second);
    watch().unplug(first);
    EXPECT_EQ(log.lines.back(), changeLine(first, "设备拔出,现在usb设备数量:1"));
    EXPECT_EQ(manager->getDeviceRef(), nullptr);
    watch().input(second, {1});
    EXPECT_EQ(log.lines.back(), "接受到数据--1") << "it is still listened to";

    manager->connectHID();
    EXPECT_EQ(manager->getDeviceRef(), second);
    EXPECT_EQ(log.lines[log.lines.size() - 2], "设备：(device 2)");
    EXPECT_EQ(log.lines.back(), "连接设备  设备列表  -- 1");
    watch().unplug(second);
    manager->connectHID();
    EXPECT_EQ(manager->getDeviceRef(), nullptr);
    EXPECT_EQ(log.lines[log.lines.size() - 2], "设备：()");
}

TEST_F(DeviceManagerTest, NewInstanceBecomesTheSharedOneAndHearsWhatTheOlderOneSees) {
    const auto older = make();
    EXPECT_EQ(DeviceManager::sharedInstance(), older);
    FakeHotplugWatch &olderWatch = watch();
    const auto newer = DeviceManager::alloc();
    EXPECT_EQ(DeviceManager::sharedInstance(), newer);
    auto *device = olderWatch.plug();
    EXPECT_EQ(older->getDeviceRef(), nullptr);
    EXPECT_EQ(newer->getDeviceRef(), device);
    EXPECT_TRUE(recorder->calls.empty()) << "it is the older one's delegate";
    newer->setDeviceRef(nullptr);
}

TEST_F(DeviceManagerTest, AllThreadsGetTheSameInstanceAndTheEndClosesDeviceAndWatch) {
    std::array<std::shared_ptr<DeviceManager>, 4> seen;
    std::vector<std::thread> threads;
    for (auto &each : seen)
        threads.emplace_back([&each] { each = DeviceManager::sharedInstance(); });
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(made, 1);
    for (auto &each : seen)
        EXPECT_EQ(each, seen[0]);
}

} // namespace
} // namespace companion
