// Slide keys from the receiver's event nodes, over the installed libudev.
#include "platform/evdev/ReceiverKeys.h"
#include "core/QtMainQueue.h"
#include "platform/evdev/EventNodes.h"
#include "support/LogRecorder.h"
#include "support/rig/HidrawDevice.h"

#include <QCoreApplication>

#include <linux/input-event-codes.h>

#include <gtest/gtest.h>

namespace companion::rig {
namespace {

using Interface = HidrawDevice::Interface;
constexpr std::uint16_t kVendor = 0x1209;
constexpr std::uint16_t kProduct = 0x00AB;

class ReceiverKeysTest : public ::testing::Test {
protected:
    void await(const std::string &what, const std::function<bool()> &condition) {
        waitUntil(
            what, [&] { return QCoreApplication::processEvents(), condition(); }, 5s);
    }
    // Page down tells that all keys before it have been heard.
    std::vector<int> heardUntilPageDown() {
        receiver.sendKey(KEY_PAGEDOWN, 1);
        await("page down", [&] { return !heard.empty() && heard.back() == 121; });
        return std::exchange(heard, {});
    }
    void listen() {
        keys.emplace(queue, kVendor, kProduct);
        keys->onKeyDown([this](int key) { heard.push_back(key); });
    }

    HidrawTestbed bed;
    HidrawDevice receiver{bed, kVendor, kProduct, {Interface::Keyboard, Interface::Vendor}};
    LogRecorder log;
    QtMainQueue queue;
    std::optional<ReceiverKeys> keys;
    std::vector<int> heard;
};

TEST_F(ReceiverKeysTest, PressesOfSlideKeysAreHeardAcrossPullsAndNothingElseIs) {
    HidrawDevice keyboard(bed, kVendor, 0x00AC, {Interface::Keyboard});
    keyboard.plug(7);
    receiver.plug();
    listen();
    keyboard.sendKey(KEY_PAGEUP, 1);
    for (const int code : {KEY_B, KEY_F5, KEY_A, KEY_PAGEUP})
        for (const int value : {1, 2, 0})
            receiver.sendKey(code, value);
    EXPECT_EQ(heardUntilPageDown(), (std::vector<int>{11, 96, 116, 121}));

    receiver.unplug();
    QCoreApplication::processEvents();
    receiver.plug(3); // At another node, as it may happen.
    await("the receiver's return", [&] {
        receiver.sendKey(KEY_B, 1);
        return !heard.empty();
    });
    EXPECT_EQ(heardUntilPageDown().front(), 11);
    EXPECT_TRUE(log.lines.empty()) << log.lines.front();
}

TEST_F(ReceiverKeysTest, ANodeThatMayNotBeReadIsWaitedForAndToldOnceIfItStaysSo) {
    receiver.setReachable(false);
    receiver.plug();
    listen();
    receiver.setReachable(true); // The rights came a moment after the node.
    await("rights", [&] {
        receiver.sendKey(KEY_B, 1);
        return !heard.empty();
    });
    EXPECT_TRUE(log.lines.empty());

    keys.reset();
    receiver.setReachable(false);
    const auto nodes = findEventNodes(kVendor, kProduct);
    ASSERT_EQ(nodes.size(), 1U);
    EXPECT_FALSE(nodes[0].error.empty());
    listen();
    await("a line of the log", [&] { return !log.lines.empty(); });
    EXPECT_TRUE(log.lines[0].starts_with("slide keys: /dev/input/event0: ")) << log.lines[0];
    letTimePass(300ms);
    QCoreApplication::processEvents();
    EXPECT_EQ(log.lines.size(), 1U);
}

} // namespace
} // namespace companion::rig
