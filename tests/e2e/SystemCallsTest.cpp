// What a session asks of the system: no network, no files but the program's own, and of the main thread
// nothing that waits for a disk.
#include "e2e/SettingsDesk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <regex>

namespace companion::rig {
namespace {

using Texts = std::vector<std::string>;

// Follows every thread; the program keeps its process number.
Command traced(const std::string &into, const Command &command = {}) {
    Command all{"strace", "-D",          "-f", "-qq",
                "-s",     "512",         "-e", "trace=%network,%file,fsync,fdatasync",
                "-e",     "signal=none", "-o", into};
    all.insert(all.end(), command.begin(), command.end());
    return all;
}

// One call a line, without the thread's number; those of one thread go into `ofThread` as well.
void readTrace(const std::string &path, Texts &calls, pid_t thread = 0, Texts *ofThread = nullptr) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        calls.push_back(line.substr(line.find_first_not_of("0123456789 ")));
        if (ofThread != nullptr && std::stoi(line) == thread)
            ofThread->push_back(calls.back());
    }
}

Texts pathsIn(const std::string &call) {
    static const std::regex quoted("\"([^\"]*)\"");
    Texts paths;
    for (std::sregex_iterator each(call.begin(), call.end(), quoted), end; each != end; ++each)
        paths.push_back((*each)[1]);
    return paths;
}

bool changesFiles(const std::string &call) {
    static const std::regex always(
        "(creat|f?truncate|[fl]?(chmod|chown)|(mk|rm)dir|mknod|unlink|rename|(sym)?link|"
        "utimens|(set|remove)xattr)(at2?)?\\(.*");
    static const std::regex forWriting("open.*O_(WRONLY|RDWR|CREAT|TRUNC|TMPFILE).*");
    return std::regex_match(call, always) || std::regex_match(call, forWriting);
}

bool startsWithOne(const Texts &starts, const std::string &path) {
    return std::any_of(starts.begin(), starts.end(),
                       [&](const auto &start) { return path.starts_with(start); });
}

TEST(SystemCalls, OfASessionReachNoNetworkChangeOnlyTheProgramsFilesAndSaveBesideTheMainThread) {
    const QTemporaryDir scratch;
    const std::string trace = scratch.filePath(QStringLiteral("trace")).toStdString();
    if (runToEnd({"strace", "-qq", "-o", trace, "true"}, inheritedEnvironment()).status != 0)
        GTEST_SKIP() << "needs strace, and the right to trace one's own processes";
    Texts calls;

    SettingsDesk desk({.settings = english({{"LOCAL_MOUSETYPE", "1"}}), .wrapper = traced(trace)});
    desk.companion.effectOn();
    desk.hand.move({300, 300});
    desk.companion.effectOff();
    desk.open();
    desk.click(control::kModes[3]);
    desk.expectStored("LOCAL_MOUSETYPE", "3");
    desk.click(control::kBackColor);
    desk.awaitDialog();
    // Among the user's own colours, which the toolkit keeps for the next time.
    desk.hand.tapKey(kKeyA, kKeyAlt);
    letTimePass(200ms); // A button that is chosen by a key stays down for a moment.
    desk.hand.tapKey(kKeyEscape);
    desk.awaitNoDialog();
    desk.hand.tapKey(kKeyEscape);
    desk.companion.effectOn();
    desk.hand.move({400, 300});
    desk.companion.effectOff();
    desk.choose(SettingsDesk::Entry::Quit);
    EXPECT_EQ(desk.companion.process().waitForExit(), 0);
    Texts ofMainThread;
    readTrace(trace, calls, desk.companion.process().pid(), &ofMainThread);
    const auto saves = [&](const std::string &call) {
        return call.find("/presenter-companion.conf") != std::string::npos &&
               (changesFiles(call) || call.find(".saving") != std::string::npos);
    };
    EXPECT_GT(std::count_if(calls.begin(), calls.end(), saves), 0);
    EXPECT_EQ(std::count_if(ofMainThread.begin(), ofMainThread.end(), saves), 0);

    { // With the real USB libraries, and without a session bus, which is not to be started.
        Environment busless = desk.desktop.environment();
        busless.erase("DBUS_SESSION_BUS_ADDRESS");
        ChildProcess plain(traced(trace, {companionProgram()}), busless);
        plain.waitForError("viewDidAppear");
        letTimePass(1200ms); // Two attempts to open the receiver.
        plain.signal(SIGTERM);
        EXPECT_EQ(plain.waitForExit(), 0);
    }
    readTrace(trace, calls);

    const std::string run = desk.desktop.file("run"); // The lock, and the socket for a second start.
    const std::string receiver = desk.desktop.file("receiver"); // What the test asked for.
    // A name under /proc is that of a file of ours that is to get another.
    const Texts ours{desk.desktop.file("config/presenter-companion"), run, receiver, "/dev/hidraw",
                     "/proc/self/fd/"};
    const Texts peers{"/tmp/.X11-unix/", desk.desktop.file("no-bus"), run, receiver};
    const auto expectPaths = [](const std::string &call, const Texts &allowed) {
        for (const std::string &path : pathsIn(call))
            EXPECT_TRUE(startsWithOne(allowed, path)) << call;
    };
    int changes = 0;
    int connections = 0;
    for (const std::string &call : calls) {
        if (call.starts_with("socket")) {
            EXPECT_TRUE(std::regex_search(call, std::regex("\\((AF_UNIX|AF_NETLINK)"))) << call;
        }
        if (call.starts_with("connect(") || call.starts_with("bind(")) {
            ++connections;
            expectPaths(call, peers);
        }
        if (call.starts_with("execve")) {
            EXPECT_EQ(pathsIn(call).front(), companionProgram()) << call;
        }
        if (changesFiles(call)) {
            ++changes;
            expectPaths(call, ours);
        }
    }
    EXPECT_GT(connections, 2) << "the trace shows what there was to see";
    EXPECT_GT(changes, 2);
}

} // namespace
} // namespace companion::rig
