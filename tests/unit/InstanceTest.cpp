// One running program per user: the folder they meet in, the lock, and what reaches the first one's socket.
#include "platform/instance/Instance.h"

#include "platform/instance/InstanceServer.h"
#include "support/LogRecorder.h"
#include "support/SocketClient.h"
#include "support/VirtualMainQueue.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace companion {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

class InstanceTest : public ::testing::Test {
protected:
    void SetUp() override {
        fs::create_directory(places.session);
        fs::permissions(places.session, fs::perms::owner_all);
    }

    // Real descriptors, virtual time.
    template <class Condition>
    bool turnUntil(Condition condition) {
        const QDeadlineTimer patience(5'000);
        while (!condition() && !patience.hasExpired()) {
            QCoreApplication::processEvents();
            queue.advance(InstanceServer::kBetweenCallers);
        }
        return condition();
    }

    InstanceClaim claim() { return claimInstance(places, "settings", 30ms); }

    QTemporaryDir folder;
    RuntimePlaces places{folder.path().toStdString() + "/run", folder.path().toStdString()};
    std::string own = places.session + "/presenter-companion";
    VirtualMainQueue queue;
    LogRecorder log;
};

struct Caller : SocketClient {
    explicit Caller(const std::string &folder) : SocketClient(InstanceLock::socketPath(folder)) {}
};

TEST_F(InstanceTest, OnlyASessionFolderOfOurOwnIsUsedAndElseOnePerUser) {
    const std::string fallback = places.temporary + "/presenter-companion-" + std::to_string(::geteuid());
    EXPECT_EQ(runtimeFolder(places), own);
    fs::permissions(places.session, fs::perms::group_write, fs::perm_options::add);
    EXPECT_EQ(runtimeFolder(places), fallback) << "others could put files there";
    EXPECT_EQ(runtimeFolder({"", places.temporary}), fallback);
    EXPECT_EQ(runtimeFolder({"relative", places.temporary}), fallback);
    if (::geteuid() == 0) {
        ASSERT_EQ(::chmod(places.session.c_str(), 0700), 0);
        ASSERT_EQ(::chown(places.session.c_str(), 12345, 12345), 0);
        EXPECT_EQ(runtimeFolder(places), fallback) << "as after su, which keeps the variable";
    }
}

TEST_F(InstanceTest, AFolderThatOthersMayHavePreparedIsNotTrusted) {
    std::string error;
    fs::create_directory(places.session + "/elsewhere");
    fs::create_directory_symlink(places.session + "/elsewhere", own);
    EXPECT_FALSE(makeRuntimeFolder(own, error));
    EXPECT_EQ(claim().outcome, InstanceClaim::Outcome::Alone);
    const InstanceEnd end = endInstance(places, 0ms);
    EXPECT_EQ(end.outcome, InstanceEnd::Outcome::Unknown) << "a program that is alone may well run";
    EXPECT_NE(end.text.find(own), std::string::npos) << end.text;
    EXPECT_TRUE(fs::is_empty(places.session + "/elsewhere"));
    fs::remove(own);

    ASSERT_EQ(::mkdir(own.c_str(), 0700), 0);
    ASSERT_EQ(::chmod(own.c_str(), 0770), 0);
    EXPECT_FALSE(makeRuntimeFolder(own, error));
    EXPECT_NE(error.find(own), std::string::npos);

    ASSERT_EQ(::chmod(own.c_str(), 0755), 0);
    EXPECT_TRUE(makeRuntimeFolder(own, error)) << "only readable: put right";
    EXPECT_EQ(fs::status(own).permissions(), fs::perms::owner_all);
}

TEST_F(InstanceTest, NoneRunsIsSaidOnlyWhereOneThatRunsWouldHoldTheLock) {
    using Outcome = InstanceEnd::Outcome;
    const auto end = [this] { return endInstance(places, 0ms); };
    const std::string lock = own + "/lock";
    EXPECT_EQ(end().outcome, Outcome::NoneRan) << "no folder yet";
    std::string error;
    ASSERT_TRUE(makeRuntimeFolder(own, error));
    EXPECT_EQ(end().outcome, Outcome::NoneRan) << "no lock yet";
    fs::create_symlink("elsewhere", lock);
    EXPECT_EQ(end().outcome, Outcome::Unknown) << "a link";
    EXPECT_NE(end().text.find(lock), std::string::npos) << end().text;
    fs::remove(lock);
    fs::create_directory(lock);
    EXPECT_EQ(end().outcome, Outcome::Unknown) << "a folder";
    fs::remove(lock);

    fs::create_directories(InstanceLock::socketPath(own) + "/taken");
    {
        const InstanceClaim first = claim();
        ASSERT_EQ(first.outcome, InstanceClaim::Outcome::First);
        EXPECT_EQ(end().outcome, Outcome::Stuck) << "it runs, without a socket";
    }
    EXPECT_EQ(end().outcome, Outcome::NoneRan);

    if (::geteuid() == 0)
        return; // Who may write everywhere.
    fs::remove(lock);
    fs::permissions(own, fs::perms::owner_write, fs::perm_options::remove);
    EXPECT_EQ(end().outcome, Outcome::Unknown) << "one would run without a lock";
    fs::permissions(own, fs::perms::owner_all);
    fs::remove_all(own);
    fs::permissions(places.session, fs::perms::owner_write, fs::perm_options::remove);
    EXPECT_EQ(end().outcome, Outcome::Unknown) << "and without a folder";
    fs::permissions(places.session, fs::perms::owner_all);
}

TEST_F(InstanceTest, WhateverElseArrivesOnTheSocketIsRefusedBoundedAndLoggedOnce) {
    const auto first = claim();
    int settings = 0;
    int quits = 0;
    const InstanceServer server(
        *first.lock->listener(), queue,
        {{"settings", [&](const auto &...) { ++settings; }}, {"quit", [&](const auto &...) { ++quits; }}});
    EXPECT_EQ(fs::status(InstanceLock::socketPath(own)).permissions(),
              fs::perms::owner_read | fs::perms::owner_write);
    const std::string inputs[] = {"shutdown\n", std::string("\0\xff\x1b[2J\n", 7), " settings\n",
                                  std::string(InstanceServer::kMaxLine + 1, 's'), std::string(100'000, '\n')};
    for (const std::string &input : inputs) {
        Caller caller(own);
        caller.send(input);
        EXPECT_TRUE(turnUntil([&] { return caller.closed(); }));
        EXPECT_EQ(caller.received().substr(0, 5), "error");
    }
    Caller silent(own);
    Caller slow(own); // In pieces, but in time.
    slow.send("sett");
    EXPECT_TRUE(turnUntil([&, n = 0]() mutable { return ++n > 10; }));
    slow.send("ings\nquit\n");
    EXPECT_TRUE(turnUntil([&] { return slow.closed(); }));
    EXPECT_EQ(slow.received(), "ok\n");
    EXPECT_EQ(settings, 1);
    EXPECT_EQ(quits, 0) << "one line for each connection";
    EXPECT_EQ(log.lines.size(), 1U);
    queue.advance(InstanceServer::kBetweenComplaints);
    EXPECT_TRUE(silent.closed());
    ASSERT_EQ(log.lines.size(), 2U);
    EXPECT_NE(log.lines[1].find(" 5 times"), std::string::npos) << log.lines[1];
}

TEST_F(InstanceTest, CallerIsToldLaterWhatCameOfItHoweverLateAndHearsNothingOfOthers) {
    const auto first = claim();
    std::vector<std::pair<std::string, InstanceServer::Report>> asked;
    std::optional<InstanceServer> server(
        std::in_place, *first.lock->listener(), queue,
        std::vector<InstanceServer::Command>{
            {"settings", [&](const auto &id, const auto &report) { asked.emplace_back(id, report); }, true}});
    Caller patient(own);
    patient.send("settings host-1_TIME2\n");
    Caller gone(own);
    gone.send("settings\n");
    EXPECT_TRUE(turnUntil([&] { return asked.size() == 2; }));
    EXPECT_EQ(asked[0].first, "host-1_TIME2");
    EXPECT_EQ(asked[1].first, "");
    gone.close();
    queue.advance(3 * InstanceServer::kClientTime);
    EXPECT_EQ(patient.received(), "ok\n");
    EXPECT_FALSE(patient.closed());
    asked[1].second("covered");
    asked[0].second("seen");
    asked[0].second("again");
    EXPECT_TRUE(turnUntil([&] { return patient.closed(); }));
    EXPECT_EQ(patient.received(), "ok\nseen\n");
    server.reset();
    asked[0].second("nobody is left");
    EXPECT_TRUE(log.lines.empty());
}

} // namespace
} // namespace companion
