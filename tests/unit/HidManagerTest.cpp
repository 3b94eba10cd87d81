#include "receiver/HidManager.h"

#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "platform/virtual_receiver/VirtualHidPort.h"
#include "platform/virtual_receiver/VirtualReceiver.h"
#include "support/LogRecorder.h"
#include "support/RecordingHidPort.h"
#include "support/VirtualMainQueue.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <optional>

namespace companion {
namespace {

using namespace std::chrono_literals;
using Names = std::vector<std::string_view>;
using Bytes = VirtualReceiver::Bytes;

class HidManagerTest : public ::testing::Test {
protected:
    HidManagerTest() {
        for (const std::string_view name :
             {LOCAL_DEVICECONNECT, LOCAL_DEVICEDISCONNECT, LOCAL_MOUSETYPESWITCH, LOCAL_MOUSESIZEVALUEADD,
              LOCAL_MOUSESIZEVALUESUB, LOCAL_MOUSEEFFECTON}) {
            center.addObserver(life, name, [this](const Notification &n) {
                EXPECT_FALSE(n.object);
                posts.push_back(n.name);
                times.push_back(queue.now());
                hid.calls.push_back("post " + std::string(n.name));
            });
        }
        manager.emplace(HidManager::Needs{queue, center, hid, 0x1209, 0x0001});
        receiver.unplug();
    }

    // Open and polled once, with the records of that dropped.
    void openLink() {
        receiver.plug();
        manager->initManager();
        queue.advance(500ms);
        ASSERT_TRUE(hid.isOpen());
        forget();
    }

    void forget() {
        posts.clear();
        times.clear();
        hid.calls.clear();
        log.lines.clear();
    }

    VirtualMainQueue queue;
    NotificationCenter center;
    VirtualReceiver receiver{queue, [this](std::chrono::milliseconds) { receiver.unplug(); }};
    VirtualHidPort port{receiver};
    RecordingHidPort hid{port};
    LogRecorder log;
    Lifetime life;
    Names posts;
    std::vector<std::chrono::milliseconds> times;
    std::optional<HidManager> manager;
};

TEST_F(HidManagerTest, ItTriesEveryHalfSecondInSilenceAndPollsTenTimesASecondWhatIsThere) {
    manager->initManager();
    EXPECT_EQ(hid.calls, std::vector<std::string>{"init"}) << "nothing is opened at once";
    for (std::size_t tries = 1; tries <= 3; ++tries) {
        queue.advance(499ms);
        EXPECT_EQ(hid.count("open 1209:0001"), tries - 1);
        queue.advance(1ms);
        EXPECT_EQ(hid.count("open 1209:0001"), tries);
    }
    receiver.plug();
    queue.advance(1'000ms);
    EXPECT_EQ(times, (std::vector{2'000ms, 2'100ms, 2'200ms, 2'300ms, 2'400ms, 2'500ms}));
    EXPECT_EQ(posts, Names(6, LOCAL_DEVICECONNECT));
    EXPECT_EQ(hid.count("read 64"), 6U);
    EXPECT_EQ(hid.count("serial 64"), 6U);
    EXPECT_EQ(hid.count("open 1209:0001"), 4U);
    EXPECT_EQ(queue.pending(), 1U);
    EXPECT_TRUE(log.lines.empty()) << "no key, no line";
}

TEST_F(HidManagerTest, APulledReceiverIsReportedOnceAfterOneReopenAttempt) {
    openLink();
    receiver.setDelay(1ms); // It is pulled in the middle of the next read.
    queue.advance(10'000ms);
    EXPECT_EQ(posts, Names{LOCAL_DEVICEDISCONNECT});
    EXPECT_EQ(times.front(), 500ms + 100ms + 500ms);
    const std::vector<std::string> expected = {"read 64", "serial 64", "close", "open 1209:0001",
                                               "post LOCAL_DEVICEDISCONNECT"};
    EXPECT_EQ(std::vector(hid.calls.begin(), hid.calls.begin() + 5), expected);
    EXPECT_EQ(hid.count("close"), 1U);
    EXPECT_EQ(hid.count("open 1209:0001"), 19U);
}

TEST_F(HidManagerTest, AReceiverPluggedInAgainBetweenTwoPollsIsReopenedAndReportedPresentFirst) {
    openLink();
    receiver.replug(0ms);
    receiver.setEvent(Bytes{0x10});
    queue.advance(600ms);
    EXPECT_EQ(posts, (Names{LOCAL_DEVICECONNECT, LOCAL_MOUSEEFFECTON, LOCAL_DEVICEDISCONNECT}));
    queue.advance(100ms);
    EXPECT_EQ(posts.size(), 5U) << "polled every 100 ms again";
    EXPECT_EQ(queue.pending(), 1U);
    EXPECT_EQ(hid.misuses, 0);
}

TEST_F(HidManagerTest, EveryCodeIsLoggedAndPostsWhatItsKeysMean) {
    openLink();
    for (unsigned code = 0; code < 256; ++code) {
        const unsigned keys = code & ~0x10U; // Without the effect key.
        Names expected = {LOCAL_DEVICECONNECT};
        if (code == 1)
            expected.push_back(LOCAL_MOUSETYPESWITCH);
        if (keys == 2)
            expected.push_back(LOCAL_MOUSESIZEVALUEADD);
        if (keys == 4)
            expected.push_back(LOCAL_MOUSESIZEVALUESUB);
        if (code != keys && (keys == 0 || keys == 2 || keys == 4))
            expected.push_back(LOCAL_MOUSEEFFECTON);
        char line[60];
        std::snprintf(line, sizeof line, "获得数据 12,%2x, 7,ab", code);

        receiver.setEvent(Bytes{static_cast<std::uint8_t>(code), 0x07, 0xAB});
        forget();
        queue.advance(100ms);
        EXPECT_EQ(posts, expected) << code;
        EXPECT_EQ(log.lines, code == 0 ? std::vector<std::string>{} : std::vector<std::string>{line});
    }
}

TEST_F(HidManagerTest, AShortReplyCountsAsFarAsItGoesAndAFailedReadIsNoKey) {
    openLink();
    receiver.setEvent(Bytes(63, 0x02));
    receiver.setMode(VirtualReceiver::Mode::Short);
    queue.advance(100ms);
    EXPECT_EQ(posts, (Names{LOCAL_DEVICECONNECT, LOCAL_MOUSESIZEVALUEADD}));
    EXPECT_EQ(log.lines, std::vector<std::string>{"获得数据 12, 2, 0, 0"});
    forget();
    receiver.setMode(VirtualReceiver::Mode::Stall);
    queue.advance(1'000ms);
    EXPECT_EQ(posts, Names(10, LOCAL_DEVICECONNECT)) << "and no removal";
    EXPECT_EQ(hid.count("close"), 0U);
}

TEST_F(HidManagerTest, TheTimerIsLoggedWithTheWholeHostBufferAndDroppedInSilenceWithoutAReceiver) {
    manager->sendTimerWithTimeInt(45);
    EXPECT_TRUE(log.lines.empty());
    openLink();
    receiver.setMode(VirtualReceiver::Mode::Stall); // A receiver that refuses it is not noticed.
    manager->sendTimerWithTimeInt(-1);
    EXPECT_EQ(log.lines, std::vector<std::string>{"data = {length = 256, bytes = 0x12ff" +
                                                  std::string(2 * 254, '0') + '}'});
    receiver.unplug();
    queue.advance(600ms);
    forget();
    manager->sendTimerWithTimeInt(45);
    EXPECT_EQ(hid.count("send 64"), 0U);
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(HidManagerTest, ALinkThatIsDestroyedClosesTheReceiverAndItsPassesComeToNothing) {
    for (const bool pulled : {false, true}) {
        manager.emplace(HidManager::Needs{queue, center, hid, 0x1209, 0x0001});
        openLink();
        if (pulled)
            receiver.unplug();
        queue.advance(100ms);
        manager.reset();
        EXPECT_FALSE(hid.isOpen());
        forget();
        queue.advance(5'000ms);
        EXPECT_TRUE(hid.calls.empty());
        EXPECT_EQ(queue.pending(), 0U);
    }
    EXPECT_EQ(hid.misuses, 0);
}

TEST(BinaryDigitsTest, NumbersComeOutInBaseTwoWithSignedDigits) {
    const std::pair<const char *, std::string> cases[] = {
        {"-3", "1-1-"},
        {" +12abc", "1100"},
        {"", "0"},
        {"-99999999999999999999", "1-" + std::string(31, '0')}};
    for (const auto &[text, digits] : cases)
        EXPECT_EQ(HidManager::convertBinarySystemFromDecimalSystem(text), digits) << text;
}

} // namespace
} // namespace companion
