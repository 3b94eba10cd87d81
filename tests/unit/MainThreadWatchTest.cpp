#include "core/MainThreadWatch.h"

#include "support/LogRecorder.h"
#include "support/VirtualMainQueue.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <atomic>

#include <pthread.h>

namespace companion {
namespace {

using namespace std::chrono_literals;

class MainThreadWatchTest : public ::testing::Test {
protected:
    // Blocks the main thread, as far as the watch can see, until the watch has helped so often.
    void beStuckUntilRescue(int count) {
        for (int seen = rescues; seen < count; seen = rescues)
            rescues.wait(seen);
    }
    void turn() {
        queue.advance(100ms);
        QCoreApplication::processEvents();
    }

    VirtualMainQueue queue; // Time stands still in it: only turn() is a sign of life.
    std::atomic<int> prepared = 0;
    std::atomic<int> rescues = 0;
    int recovered = 0;
    MainThreadWatch watch{queue,
                          20ms,
                          {.prepare = [this] { ++prepared; },
                           .rescue =
                               [this] {
                                   ++rescues;
                                   rescues.notify_one();
                               },
                           .recovered = [this] { ++recovered; }}};
};

TEST_F(MainThreadWatchTest, NothingBeatsAndNobodyIsRescuedWhileItIsOff) {
    EXPECT_EQ(queue.pending(), 0U);
    watch.setOn(true);
    watch.setOn(true);
    EXPECT_EQ(queue.pending(), 1U);
    beStuckUntilRescue(1);
    EXPECT_EQ(recovered, 0) << "not before the main thread turns";
    watch.setOn(false);
    watch.setOn(true); // Between two beats: still one heart.
    EXPECT_EQ(queue.pending(), 1U);
    watch.setOn(false);
    turn();
    EXPECT_EQ(queue.pending(), 0U);
    const int before = rescues;
    watch.setOn(true);
    beStuckUntilRescue(before + 1); // And it is on again.
    EXPECT_EQ(prepared, 1);
}

TEST(MainThreadWatch, GoesWithoutAThreadThatCannotBeMade) {
    pthread_attr_t usual;
    pthread_attr_t impossible;
    pthread_getattr_default_np(&usual);
    pthread_getattr_default_np(&impossible);
    pthread_attr_setstacksize(&impossible, std::size_t{1} << 50);
    ASSERT_EQ(pthread_setattr_default_np(&impossible), 0);
    const LogRecorder log;
    VirtualMainQueue queue;
    {
        MainThreadWatch watch(queue, 20ms, {});
        pthread_setattr_default_np(&usual);
        watch.setOn(true);
        EXPECT_EQ(queue.pending(), 0U);
    }
    EXPECT_EQ(log.lines.size(), 1U);
}

} // namespace
} // namespace companion
