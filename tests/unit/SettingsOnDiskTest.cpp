// Writers that die in the middle of a save, disks that are full, folders that cannot be written.
#include "settings/ConfigManager.h"
#include "settings/SettingsStore.h"
#include "support/LogRecorder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <random>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace companion {
namespace {

// State number n of the settings: the values, from one end of the file to the other, tell n, so that a
// mixture of two states shows.
void setState(ConfigManager &config, std::int64_t n) {
    config.setType(static_cast<std::uint64_t>(n));
    config.setMouseSizeValue(n);
    config.setTimeValue(n);
    config.setBackAlpha(static_cast<double>(n));
    config.setFrontColor(Color{static_cast<double>(n), 0, 0, 1});
}

std::optional<std::int64_t> stateOf(const ConfigManager &config) {
    const std::int64_t n = config.mouseSizeValue();
    const auto exact = static_cast<double>(n); // In single precision, too: there are not that many saves.
    const bool whole = config.type() == static_cast<std::uint64_t>(n) && config.timeValue() == n &&
                       config.backAlpha() == exact && config.frontColor() == Color{exact, 0, 0, 1};
    return whole ? std::optional(n) : std::nullopt;
}

class SettingsOnDiskTest : public ::testing::Test {
protected:
    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("presenter-companion.conf"));
    LogRecorder log;

    QStringList entries() const {
        return QDir(folder.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }
    void save(std::int64_t n) {
        SettingsStore store(path);
        ConfigManager config(store);
        setState(config, n);
        config.saveUserDefault();
    }
};

TEST_F(SettingsOnDiskTest, FiveHundredKilledWritersLeaveOneCompleteStateAndNothingElse) {
    struct Told { // By the writer, and read after its death.
        std::atomic<bool> writing;
        std::atomic<std::int64_t> saved; // The number of the last save that has returned.
    };
    auto *told = static_cast<Told *>(
        mmap(nullptr, sizeof(Told), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(told, MAP_FAILED);
    using Clock = std::chrono::steady_clock;
    const auto begun = Clock::now();
    save(0);
    const auto oneSave = std::chrono::ceil<std::chrono::microseconds>(Clock::now() - begun).count();
    std::uniform_int_distribution moment(0, 3 * static_cast<int>(oneSave));
    std::mt19937 chance(20240229);
    std::int64_t first = 1;
    int inASave = 0; // Kills after a save that nobody had heard of yet: the kills did hit saves.
    for (int kill = 0; kill < 500; ++kill) {
        told->writing = false;
        told->saved = first - 1;
        const pid_t writer = fork();
        if (writer == 0) {
            SettingsStore store(path);
            ConfigManager config(store);
            for (std::int64_t n = first;; ++n) {
                setState(config, n);
                told->writing = true;
                config.saveUserDefault();
                told->saved = n;
            }
        }
        for (int i = 0; i < 100'000 && !told->writing; ++i)
            usleep(100); // A sanitized writer takes long to come to it.
        usleep(static_cast<unsigned>(moment(chance)));
        ::kill(writer, SIGKILL);
        ASSERT_EQ(waitpid(writer, nullptr, 0), writer);

        SettingsStore store(path);
        const ConfigManager config(store);
        const auto state = stateOf(config);
        ASSERT_TRUE(state.has_value()) << "a mixture after kill " << kill;
        ASSERT_GE(*state, told->saved) << "a save that had returned is lost";
        ASSERT_LE(*state, told->saved + 1);
        ASSERT_LE(entries().size(), 2) << entries().join(u' ').toStdString();
        inASave += *state > told->saved;
        first = *state + 1;
    }
    EXPECT_GT(first, 100) << "the writers hardly came to save";
    EXPECT_GT(inASave, 0) << "no kill came in the middle of a save";
    save(first);
    EXPECT_EQ(entries(), QStringList{QFileInfo(path).fileName()});
    EXPECT_TRUE(log.lines.empty());
    munmap(told, sizeof *told);
}

TEST_F(SettingsOnDiskTest, AFileThatIsKeptElsewhereStaysBehindItsLinkWithItsRights) {
    const QTemporaryDir elsewhere;
    const QString kept = elsewhere.filePath(QStringLiteral("mine.conf"));
    {
        SettingsStore store(kept);
        ConfigManager(store).saveUserDefault();
    }
    const auto rights = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup;
    ASSERT_TRUE(QFile::setPermissions(kept, rights));
    ASSERT_TRUE(QFile::link(kept, path));
    save(7);
    EXPECT_EQ(QFileInfo(path).symLinkTarget(), kept);
    SettingsStore store(kept);
    EXPECT_EQ(stateOf(ConfigManager(store)), 7);
    EXPECT_TRUE(QFile::permissions(kept).testFlags(rights));
    EXPECT_FALSE(QFile::permissions(kept).testFlag(QFile::ReadOther));
}

} // namespace
} // namespace companion
