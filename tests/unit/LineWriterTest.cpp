#include "core/LineWriter.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <sstream>
#include <vector>

using namespace std::chrono_literals;

namespace companion {
namespace {

std::string notice(std::uint64_t dropped) {
    return std::to_string(dropped) + " dropped\n";
}

enum class Kind { Pipe, Socket, Terminal, TerminalOfAnother };

// As people have it: with the translation that makes a writer wait for the room of all that it writes.
int openTerminal(std::array<int, 2> &ends) {
    ends[0] = posix_openpt(O_RDWR | O_NOCTTY);
    if (ends[0] < 0 || grantpt(ends[0]) != 0 || unlockpt(ends[0]) != 0)
        return -1;
    ends[1] = open(ptsname(ends[0]), O_RDWR | O_NOCTTY);
    return ends[1] < 0 ? -1 : 0;
}

// A pipe, a socket as the journal's is, or a terminal, that is read only when told.
class LineWriterTest : public ::testing::TestWithParam<Kind> {
protected:
    LineWriterTest() {
        const int made = GetParam() == Kind::Pipe     ? pipe(ends.data())
                         : GetParam() == Kind::Socket ? socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data())
                                                      : openTerminal(ends);
        EXPECT_EQ(made, 0);
        fcntl(ends[0], F_SETFL, O_NONBLOCK); // The reader's end only.
        const bool another = GetParam() == Kind::TerminalOfAnother;
        const uid_t self = geteuid();
        if (another) {
            EXPECT_EQ(fchmod(ends[1], 0), 0);
            EXPECT_TRUE(self != 0 || seteuid(kNobody) == 0); // No rights bind root.
        }
        writer.emplace(ends[1], kRoom, notice);
        EXPECT_TRUE(geteuid() == self || seteuid(self) == 0);
    }
    ~LineWriterTest() override {
        writer.reset();
        closeReader();
        close(ends[1]);
    }
    void closeReader() { close(std::exchange(ends[0], -1)); }

    // Of many lengths: a terminal waits for room only when the last bit of it is too short.
    std::string lineNumber(int number) const {
        return std::to_string(number) + std::string(static_cast<std::size_t>(20 + number % 97 * 3), 'x') +
               "\n";
    }
    // Writes lines until some must have been dropped. Hangs if the writer waits for the reader.
    int writeTooMuch() {
        int number = 0;
        while (number < 20'000)
            writer->write(lineNumber(number++));
        return number;
    }
    std::string readAll() {
        std::string all;
        std::array<char, 4096> part{};
        pollfd poll{ends[0], POLLIN, 0};
        ::poll(&poll, 1, 50); // A relay is another thread.
        for (ssize_t n = 0; (n = read(ends[0], part.data(), part.size())) > 0;)
            all.append(part.data(), static_cast<std::size_t>(n));
        std::erase(all, '\r');
        return all;
    }

    static constexpr std::size_t kRoom = 10'000;
    static constexpr uid_t kNobody = 65534;
    std::array<int, 2> ends{};
    std::optional<LineWriter> writer;
};

TEST_P(LineWriterTest, AReaderThatReadsNothingHoldsNobodyUpAndLearnsHowManyLinesItMissed) {
    const int written = writeTooMuch();
    std::string all;
    for (std::string part = readAll(); !part.empty(); part = readAll()) {
        all += part;
        writer->flush(0ms);
    }
    writer->write("after\n");
    all += readAll();

    EXPECT_GT(all.find(" dropped"), kRoom) << "what the reader's end holds and the room";
    int number = 0; // A relay makes room now and then.
    std::string line;
    for (std::istringstream lines(all); std::getline(lines, line);) {
        if (line + "\n" == lineNumber(number))
            ++number;
        else if (line.ends_with(" dropped"))
            number += std::stoi(line);
        else
            break;
    }
    EXPECT_EQ(number, written) << "whole lines in order, and how many are missing";
    EXPECT_EQ(line, "after") << "and then every line again";
}

TEST_P(LineWriterTest, TheEventLoopDeliversWhatWaits) {
    writeTooMuch();
    EXPECT_FALSE(writer->flush(1ms)) << "an end does not wait for a reader that has stopped";
    std::string all = readAll();
    QElapsedTimer time;
    time.start();
    while (!all.ends_with("dropped\n") && time.elapsed() < 5000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        all += readAll();
    }
    EXPECT_TRUE(all.ends_with("dropped\n"));
}

TEST_P(LineWriterTest, AReaderThatHasGoneEndsNeitherTheProgramNorItsPeace) {
    const auto before = std::signal(SIGPIPE, SIG_DFL);
    writeTooMuch();
    closeReader();
    for (int i = 0; i < 10; ++i)
        writer->write("nobody\n");
    EXPECT_TRUE(writer->flush(1s)) << "nothing is kept for nobody";
    std::signal(SIGPIPE, before);
}

INSTANTIATE_TEST_SUITE_P(Readers, LineWriterTest,
                         ::testing::Values(Kind::Pipe, Kind::Socket, Kind::Terminal, Kind::TerminalOfAnother),
                         [](const auto &each) {
                             return each.param == Kind::Pipe       ? "Pipe"
                                    : each.param == Kind::Socket   ? "Socket"
                                    : each.param == Kind::Terminal ? "Terminal"
                                                                   : "TerminalOfAnother";
                         });

} // namespace
} // namespace companion
