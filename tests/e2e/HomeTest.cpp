// Homes that are full, read-only or slow, and a full log.
#include "e2e/Talk.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>

namespace companion::rig {
namespace {

// Runs a shell line in a mount namespace of its own, as root there, and then the program. Rights do not bind
// root, mounts do.
Command withMounts(const std::string &line) {
    Command command{"unshare", "--mount", "--propagation", "private"};
    if (geteuid() != 0)
        command.insert(command.end(), {"--user", "--map-root-user"});
    command.insert(command.end(), {"sh", "-c", line + " && exec \"$0\" \"$@\""});
    return command;
}

// The desktop's folders have to be known before the program starts.
class Home : public ::testing::Test {
protected:
    Desktop desktop{{.size = {800, 600}}};

    void SetUp() override {
        Command trial = withMounts("mount -t tmpfs none /mnt");
        trial.push_back("true");
        if (runToEnd(trial, desktop.environment()).status != 0)
            GTEST_SKIP() << "needs the right to mount: root, or user namespaces";
    }
    CompanionProcess start(const std::string &mounts) const {
        return CompanionProcess(desktop, CompanionProcess::Options{.settings = {{"LOCAL_MOUSETYPE", "1"}},
                                                                   .wrapper = withMounts(mounts)});
    }
    std::string complaint() const {
        return "settings: " + settingsFile(desktop) + ": cannot be written; changes will not be kept";
    }
};

TEST_F(Home, ThatIsReadOnlyIsOneLogLineAndEverythingElseWorks) {
    CompanionProcess companion =
        start(R"(for folder in "$HOME" "$XDG_CONFIG_HOME" "$XDG_CACHE_HOME" "$XDG_DATA_HOME"; do
                     mount --bind -o ro "$folder" "$folder" || exit
                 done)");
    for (int i = 0; i < 3; ++i) {
        companion.effectOn();
        companion.effectOff();
        companion.pressOnce("01"); // The next mode, which is saved.
    }
    companion.waitForLog(complaint());
    EXPECT_EQ(companion.storedSettings(), (Settings{{"LOCAL_MOUSETYPE", "1"}}));
    companion.process().signal(SIGTERM);
    EXPECT_EQ(companion.process().waitForExit(), 0);
    EXPECT_EQ(companion.logCount(complaint()), 1);
}

TEST_F(Home, ThatIsFullKeepsTheOldSettingsUntilThereIsRoomAgain) {
    CompanionProcess companion = start(R"(cp -r "$XDG_CONFIG_HOME" "$XDG_RUNTIME_DIR/copy" &&
                 mount -t tmpfs -o size=64k none "$XDG_CONFIG_HOME" &&
                 cp -r "$XDG_RUNTIME_DIR/copy/." "$XDG_CONFIG_HOME")");
    companion.pressOnce("01");
    companion.awaitStored("LOCAL_MOUSETYPE", "2");
    const Settings before = companion.storedSettings();

    const std::string filler =
        "/proc/" + std::to_string(companion.process().pid()) + "/root" + desktop.file("config/filler");
    for (std::ofstream file(filler); file << std::string(1024, '#') << std::flush;)
        ;
    for (int i = 0; i < 3; ++i)
        companion.pressOnce("01");
    companion.waitForLog(complaint());
    EXPECT_EQ(companion.storedSettings(), before);

    std::filesystem::remove(filler);
    companion.awaitStored("LOCAL_MOUSETYPE", "1"); // By itself.
    EXPECT_EQ(companion.logCount(complaint()), 1);
}

TEST(DiskThatIsSlow, CostsAHeldEffectNothing) {
    // Every way down to the disk takes a quarter of a second.
    const Command slow{"strace",
                       "-D",
                       "-f",
                       "-qq",
                       "--seccomp-bpf",
                       "-e",
                       "trace=fsync,fdatasync",
                       "-e",
                       "signal=none",
                       "-e",
                       "inject=fsync,fdatasync:delay_exit=250000",
                       "-o",
                       "/dev/null"};
    Command trial = slow;
    trial.push_back("true");
    if (runToEnd(trial, inheritedEnvironment()).status != 0)
        GTEST_SKIP() << "needs strace, and the right to trace one's own processes";
    Talk talk(CompanionProcess::Options{.settings = kSpotlight, .wrapper = slow}, {.size = {800, 600}});
    const int before = talk.companion.input().clicks();
    talk.companion.effectOn();
    for (int press = 0; press < 10; ++press)
        talk.companion.pressOnce("12"); // Larger, which is saved; 0.3 s each.
    talk.companion.effectOff();
    letTimePass(300ms);
    EXPECT_EQ(talk.companion.input().clicks(), before + 2) << "one for each end of the effect";
    talk.companion.awaitStored("LOCAL_MOUSESIZEVALUE", "200");
}

TEST(LogThatIsFull, IsNoReasonToStop) {
    const Desktop desktop({.size = {800, 600}});
    CompanionProcess companion(
        desktop, CompanionProcess::Options{.wrapper = {"sh", "-c", "exec \"$0\" \"$@\" 2>/dev/full"}});
    companion.effectOn();
    companion.effectOff();
    companion.process().signal(SIGTERM);
    EXPECT_EQ(companion.process().waitForExit(), 0);
}

} // namespace
} // namespace companion::rig
