#include "platform/virtual_receiver/ReceiverFeed.h"

#include "platform/virtual_receiver/VirtualHidPort.h"
#include "platform/virtual_receiver/VirtualReceiver.h"
#include "support/SocketClient.h"
#include "support/VirtualMainQueue.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>
#include <fstream>

namespace companion {
namespace {

using namespace std::chrono_literals;

class ReceiverFeedTest : public ::testing::Test {
protected:
    std::string path(const std::string &name) const { return folder.path().toStdString() + '/' + name; }

    std::unique_ptr<ReceiverFeed> open(const std::string &where) {
        error.clear();
        return ReceiverFeed::open(where, receiver, queue, error);
    }

    // Real descriptors, virtual time: lets everything happen that is due now.
    void turn() {
        QCoreApplication::processEvents();
        queue.advance(0ms);
    }

    template <class Condition>
    bool turnUntil(Condition condition) {
        const QDeadlineTimer patience(5'000);
        while (!condition() && !patience.hasExpired())
            turn();
        return condition();
    }

    QTemporaryDir folder;
    VirtualMainQueue queue;
    VirtualReceiver receiver{queue, [](std::chrono::milliseconds) {}};
    std::string error;
};

TEST_F(ReceiverFeedTest, ClientsThatLeaveAtAnyMomentDisturbNobody) {
    const auto feed = open(path("socket"));
    VirtualHidPort port(receiver);
    {
        SocketClient mute(path("socket"));
        SocketClient rude(path("socket"));
        rude.send("counts\nwait 100\nevent 10\ncounts\n");
        SocketClient half(path("socket"));
        half.send("eve");
    }
    for (int i = 0; i < 20; ++i)
        turn();
    queue.advance(100ms);
    SocketClient client(path("socket"));
    client.send("counts\n");
    EXPECT_TRUE(turnUntil([&] { return client.received().ends_with("writes=0\n"); }));
    auto *handle = port.open(1, 2);
    std::array<std::uint8_t, 64> report{0x12};
    port.getFeatureReport(handle, report);
    EXPECT_EQ(report[1], 0x10) << "what a client asked for before it left is done";
    EXPECT_FALSE(open(path("socket")));
    EXPECT_EQ(error, path("socket") + ": the socket is in use");
}

TEST_F(ReceiverFeedTest, AScriptIsCheckedAsAWholeBeforeAnythingRuns) {
    std::ofstream(path("script")) << "unplug\n\nevent 1g\nplug\n";
    EXPECT_FALSE(open(path("script")));
    EXPECT_TRUE(error.starts_with(path("script") + ":3: event: '1g' is no byte")) << error;
    std::ofstream(path("huge")) << std::string(2U << 20, '\n');
    for (const std::string &each :
         {path("huge"), path(""), path(std::string(120, 'x')), std::string("/dev/null")}) {
        EXPECT_FALSE(open(each));
        EXPECT_TRUE(error.starts_with(each + ": ")) << error;
    }
    turn();
    EXPECT_NE(VirtualHidPort(receiver).open(1, 2), nullptr) << "nothing was unplugged";
}

} // namespace
} // namespace companion
