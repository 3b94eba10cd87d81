// Writers that die in the middle of a save, disks that take long, and things that are no settings file.
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
#include <fstream>
#include <random>
#include <semaphore>

#include <pthread.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
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

TEST_F(SettingsOnDiskTest, AHundredKilledWritersLeaveOneCompleteStateAndNothingElse) {
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
    for (int kill = 0; kill < 100; ++kill) {
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
    EXPECT_GT(first, 30) << "the writers hardly came to save";
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

using FileKind = std::function<void(const std::string &path)>;

void makeSocket(const std::string &path) {
    const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{AF_UNIX, {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    bind(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address);
    close(descriptor);
}

TEST_F(SettingsOnDiskTest, WhatIsNoSettingsFileIsRefusedWithOneLineAndLeftAloneByEverySave) {
    const std::string elsewhere = folder.filePath(QStringLiteral("elsewhere")).toStdString();
    const std::string precious = elsewhere + "/presenter-companion.conf";
    ASSERT_EQ(mkdir(elsewhere.c_str(), 0700), 0);
    std::ofstream(precious).close();
    const std::vector<std::pair<std::string, FileKind>> kinds{
        {"FIFO", [](const auto &at) { mkfifo(at.c_str(), 0600); }},
        {"socket", makeSocket},
        {"folder with a file",
         [](const auto &at) {
             mkdir(at.c_str(), 0700);
             std::ofstream(at + "/mine").close();
         }},
        {"huge file", [](const auto &at) { std::ofstream(at) << std::string(2'000'000, '#'); }},
        {"link to a device", [](const auto &at) { EXPECT_EQ(symlink("/dev/null", at.c_str()), 0); }},
        {"link to nothing", [](const auto &at) { EXPECT_EQ(symlink("nowhere", at.c_str()), 0); }},
        {"link to a folder", [&](const auto &at) { EXPECT_EQ(symlink(elsewhere.c_str(), at.c_str()), 0); }},
        {"somebody else's file",
         [](const auto &at) {
             std::ofstream(at).close();
             if (chown(at.c_str(), 65534, 65534) != 0)
                 unlink(at.c_str()); // Only root can show it.
         }},
    };
    const std::string file = path.toStdString();
    const std::string temporary =
        folder.filePath(QStringLiteral(".presenter-companion.conf.saving")).toStdString();
    for (const std::string &place : {file, temporary}) {
        for (const auto &[name, make] : kinds) {
            SCOPED_TRACE(name + " at " + place);
            SettingsStore store(path); // A fine place at the start.
            ConfigManager config(store);
            make(place);
            struct stat before {};
            if (lstat(place.c_str(), &before) != 0)
                continue;
            alarm(20); // Opening a FIFO waits for good.
            log.lines.clear();
            if (place == file && before.st_uid == geteuid()) {
                const SettingsStore refused(path);
                EXPECT_EQ(log.lines.size(), 1U) << "by the start as well";
            }
            log.lines.clear();
            setState(config, 5);
            config.saveUserDefault();
            config.saveUserDefault();
            alarm(0);
            EXPECT_EQ(log.lines.size(), 1U);
            struct stat after {};
            ASSERT_EQ(lstat(place.c_str(), &after), 0);
            EXPECT_EQ(std::tuple(after.st_ino, after.st_mode, after.st_size),
                      std::tuple(before.st_ino, before.st_mode, before.st_size));
            EXPECT_TRUE(QFile::exists(QString::fromStdString(precious)));
            if (!S_ISDIR(before.st_mode)) {
                unlink(place.c_str());
            } else {
                EXPECT_EQ(unlink((place + "/mine").c_str()), 0) << "the folder's content is left alone, too";
                rmdir(place.c_str());
            }
            config.saveUserDefault();
            SettingsStore again(path);
            EXPECT_EQ(stateOf(ConfigManager(again)), 5) << "once the place is free again";
            EXPECT_EQ(log.lines.size(), 1U);
            unlink(file.c_str());
        }
    }
}

// A disk that a save waits for until the test lets it go on.
struct SlowDisk {
    std::counting_semaphore<> begun{0};
    std::counting_semaphore<> goOn{0};
    std::atomic<int> failures{0}; // The next so many saves fail.
    std::vector<QString> saved;   // The size in each save that worked.

    SettingsStore::Replace replace() {
        return [this](const QString &, const std::map<QString, QString> &values) {
            begun.release();
            goOn.acquire();
            if (failures > 0) {
                --failures;
                return QStringLiteral("cannot be written");
            }
            saved.push_back(values.at(QStringLiteral("LOCAL_MOUSESIZEVALUE")));
            return QString();
        };
    }
};

TEST_F(SettingsOnDiskTest, SavesThatPileUpBehindASlowDiskBecomeOneWithTheLatestState) {
    SlowDisk disk;
    SettingsStore store(path, disk.replace());
    store.saveAside();
    ConfigManager config(store);
    setState(config, 1);
    config.saveUserDefault();
    disk.begun.acquire(); // The first one is under way, and stays so:
    for (const int n : {2, 3, 4}) {
        setState(config, n);
        config.saveUserDefault(); // Would never return if it waited.
    }
    disk.failures = 1;
    disk.goOn.release(9);
    store.finishSaving(std::chrono::seconds(60));
    EXPECT_EQ(disk.saved, (std::vector<QString>{QStringLiteral("4")})) << "nothing older after it";
    EXPECT_EQ(log.lines.size(), 1U) << "about the first, which did not work";
}

TEST_F(SettingsOnDiskTest, AnEndDoesNotWaitForADiskThatHangsAndSaysSo) {
    auto &disk = *new SlowDisk; // Its thread outlives the test.
    SettingsStore store(path, disk.replace());
    store.saveAside();
    ConfigManager(store).saveUserDefault();
    disk.begun.acquire();
    store.finishSaving(std::chrono::milliseconds(1));
    EXPECT_EQ(log.lines.size(), 1U);
}

TEST_F(SettingsOnDiskTest, WithoutAThreadEverySaveIsOnTheDiskWhenItReturns) {
    pthread_attr_t usual;
    pthread_attr_t huge; // A stack that no memory holds.
    ASSERT_EQ(pthread_getattr_default_np(&usual), 0);
    ASSERT_EQ(pthread_attr_init(&huge), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&huge, std::size_t{1} << 47), 0);
    ASSERT_EQ(pthread_setattr_default_np(&huge), 0);
    SettingsStore store(path);
    store.saveAside();
    pthread_setattr_default_np(&usual);
    EXPECT_EQ(log.lines.size(), 1U);
    ConfigManager config(store);
    setState(config, 3);
    config.saveUserDefault();
    SettingsStore again(path);
    EXPECT_EQ(stateOf(ConfigManager(again)), 3);
}

} // namespace
} // namespace companion
