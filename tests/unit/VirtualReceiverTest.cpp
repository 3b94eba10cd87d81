#include "platform/virtual_receiver/VirtualReceiver.h"

#include "platform/virtual_receiver/ReceiverCommands.h"
#include "platform/virtual_receiver/ReceiverFeed.h"
#include "platform/virtual_receiver/VirtualHidPort.h"
#include "support/SocketClient.h"
#include "support/VirtualMainQueue.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>

namespace companion {
namespace {

using namespace std::chrono_literals;
using Mode = VirtualReceiver::Mode;
using Bytes = VirtualReceiver::Bytes;
using Lines = std::vector<std::string>;

class VirtualReceiverTest : public ::testing::Test {
protected:
    // The first bytes of the answer to one feature read, or nothing for a failed one.
    Bytes read() {
        std::array<std::uint8_t, 64> report{0x12};
        return port.getFeatureReport(handle, report) < 0 ? Bytes{}
                                                         : Bytes(report.begin(), report.begin() + 4);
    }
    void open() { handle = port.open(1, 2); }

    VirtualMainQueue queue;
    VirtualReceiver receiver{queue};
    VirtualHidPort port{receiver};
    HidPort::Handle *handle = nullptr;
};

TEST_F(VirtualReceiverTest, TheOpenIsExclusiveAndFailsWhileUnplugged) {
    open();
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(port.open(1, 2), nullptr);
    receiver.replug(0ms);
    EXPECT_EQ(port.open(1, 2), nullptr) << "the dead handle was not closed";
    port.close(handle);
    receiver.replug(300ms);
    receiver.unplug();
    queue.advance(1'000ms);
    EXPECT_EQ(port.open(1, 2), nullptr) << "a later unplug cancels a pending replug";
    receiver.plug();
    open();
    EXPECT_NE(handle, nullptr);
}

TEST_F(VirtualReceiverTest, AnUnplugKillsWhatIsOpenForGoodAndLosesNoCodes) {
    open();
    receiver.once(Bytes{0x01});
    receiver.replug(300ms);
    EXPECT_FALSE(port.isDisconnected(handle)) << "not before a read has failed";
    EXPECT_EQ(read(), Bytes{});
    EXPECT_TRUE(port.isDisconnected(handle));
    queue.advance(300ms);
    EXPECT_EQ(read(), Bytes{}) << "plugged in again, but this handle is of another life";
    EXPECT_TRUE(port.isDisconnected(handle));
    port.close(handle);
    open();
    EXPECT_EQ(read(), (Bytes{0x12, 0x01, 0, 0}));
    receiver.setMode(Mode::Stall);
    EXPECT_EQ(read(), Bytes{});
    EXPECT_FALSE(port.isDisconnected(handle)) << "a stall is no removal";
    EXPECT_EQ(port.sendFeatureReport(handle, Bytes(64, 0x12)), -1);
    EXPECT_TRUE(receiver.written().empty());
}

TEST_F(VirtualReceiverTest, ClientsOfItsSocketThatLeaveAtAnyMomentDisturbNobody) {
    const QTemporaryDir folder;
    const std::string socket = folder.filePath(QStringLiteral("socket")).toStdString();
    std::string error;
    const auto feed = ReceiverFeed::open(socket, receiver, queue, error);
    ASSERT_TRUE(feed) << error;
    {
        SocketClient mute(socket);
        SocketClient rude(socket);
        rude.send("counts\nwait 100\nevent 10\ncounts\n");
        SocketClient half(socket);
        half.send("eve");
    }
    SocketClient client(socket);
    client.send("sets\n");
    const QDeadlineTimer patience(5'000);
    while (client.received().empty() && !patience.hasExpired())
        QCoreApplication::processEvents();
    EXPECT_EQ(client.received(), "ok\n");
    queue.advance(100ms);
    open();
    EXPECT_EQ(read(), (Bytes{0x12, 0x10, 0, 0})) << "what a client asked for before it left is done";
}

class ReceiverCommandsTest : public VirtualReceiverTest {
protected:
    Lines replies;
    ReceiverCommands commands{receiver, queue, [this](std::string_view line) { replies.emplace_back(line); },
                              [] {}};

    Lines say(std::string_view text) {
        replies.clear();
        commands.feed(text);
        return replies;
    }
};

TEST_F(ReceiverCommandsTest, CommandsAreWrittenLooselyInPiecesOrNotAndTooLongOnesAreDroppedWhole) {
    open();
    EXPECT_EQ(say("# a comment\n\n \t\r\neve"), Lines{});
    EXPECT_EQ(say("nt 10 2 0xAb\r\n once 1 02\n"), (Lines{"ok", "ok"}));
    EXPECT_EQ(read(), (Bytes{0x12, 0x01, 0, 0}));
    EXPECT_EQ(read(), (Bytes{0x12, 0x02, 0, 0}));
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(read(), (Bytes{0x12, 0x10, 0x02, 0xAB})) << "stands";
    const std::string blanks(4096 - 4, ' ');
    EXPECT_EQ(say("plug" + blanks + '\n'), Lines{"ok"}) << "4096 bytes are not too long";
    EXPECT_EQ(say("plug" + blanks + ' '), Lines{"error line longer than 4096 bytes"});
    EXPECT_EQ(say(std::string(9'000, 'y')), Lines{}) << "still that line";
    EXPECT_EQ(say("unplug\nplug\n"), Lines{"ok"});
}

TEST_F(ReceiverCommandsTest, WaitGetCountsAnsweredReadsOnlyAndRepliesWhenThePassIsOver) {
    open();
    read();
    say("wait-get 2\nunplug\n");
    receiver.setMode(Mode::Stall);
    read();
    receiver.setMode(Mode::Ok);
    read();
    queue.advance(10'000ms);
    read();
    EXPECT_EQ(replies, Lines{}) << "no command runs inside a read";
    queue.advance(0ms);
    EXPECT_EQ(replies, (Lines{"ok", "ok"}));
    EXPECT_EQ(read(), Bytes{});
}

TEST_F(ReceiverCommandsTest, BadInputGetsAnErrorThatQuotesTheOffenderAndChangesNothing) {
    open();
    say("event 10\n");
    const std::pair<std::string, std::string> cases[] = {
        {"event 100", "event: '100' is no byte"},
        {"unplug now", "unplug: 'now' is too much"},
        {"delay -5", "delay: '-5' is no number from 0 to 60000"},
        {"wait 99999999999999999999", "wait: '99999999999999999999' is no number"},
        {"wait-get 0", "wait-get: '0' is no number from 1"},
        {"\x1b[2J\xff" + std::string(100, 'x'),
         "unknown command '\\x1b[2J\\xff" + std::string(35, 'x') + "…'"},
    };
    for (const auto &[line, error] : cases) {
        const Lines got = say(line + '\n');
        ASSERT_EQ(got.size(), 1U) << line;
        EXPECT_TRUE(got[0].starts_with("error " + error)) << got[0];
    }
    EXPECT_EQ(read(), (Bytes{0x12, 0x10, 0, 0}));
}

} // namespace
} // namespace companion
