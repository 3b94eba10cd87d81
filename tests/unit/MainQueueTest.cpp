#include "core/DelayedCalls.h"
#include "core/QtMainQueue.h"
#include "support/VirtualMainQueue.h"

#include <QEventLoop>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using namespace std::chrono_literals;

namespace companion {
namespace {

// Lets time pass on a queue: really, or by decree.
struct VirtualRig {
    VirtualMainQueue queue;
    void pass(std::chrono::milliseconds time) { queue.advance(time); }
};

struct QtRig {
    QtMainQueue queue;
    void pass(std::chrono::milliseconds time) {
        QEventLoop loop;
        queue.post(time, [&] { loop.quit(); });
        loop.exec();
    }
};

// Both queues keep the same promises.
template <class Rig>
class MainQueueTest : public ::testing::Test {
protected:
    Rig rig;
    std::vector<int> ran;
    Task note(int number) {
        return [this, number] { ran.push_back(number); };
    }
};

using Rigs = ::testing::Types<VirtualRig, QtRig>;
TYPED_TEST_SUITE(MainQueueTest, Rigs);

TYPED_TEST(MainQueueTest, TasksRunInTheOrderOfTheirDueTimesAndNeverInsidePost) {
    this->rig.queue.post(20ms, this->note(3));
    this->rig.queue.post(10ms, this->note(2));
    this->rig.queue.post(0ms, this->note(1));
    this->rig.queue.post(-5ms, this->note(1));
    EXPECT_TRUE(this->ran.empty());
    this->rig.pass(25ms);
    EXPECT_EQ(this->ran, (std::vector{1, 1, 2, 3}));
}

TYPED_TEST(MainQueueTest, TasksDueTogetherRunInPostingOrder) {
    for (int i = 0; i < 100; ++i)
        this->rig.queue.post(5ms, this->note(i));
    this->rig.pass(10ms);
    ASSERT_EQ(this->ran.size(), 100U);
    EXPECT_TRUE(std::is_sorted(this->ran.begin(), this->ran.end()));
}

TYPED_TEST(MainQueueTest, ATaskMayPostFurtherTasks) {
    this->rig.queue.post(0ms, [this] {
        this->rig.queue.post(0ms, this->note(2));
        this->rig.queue.post(5ms, this->note(3));
        this->note(1)();
    });
    this->rig.pass(10ms);
    EXPECT_EQ(this->ran, (std::vector{1, 2, 3}));
}

TEST(QtMainQueueTest, ATaskThatKeepsRepostingItselfDoesNotStarveTheLoop) {
    QtMainQueue queue;
    QEventLoop loop;
    std::function<void()> again = [&] { queue.post(0ms, again); };
    again();
    QTimer::singleShot(5, &loop, &QEventLoop::quit); // Runs only if the loop turns.
    loop.exec();
}

class DelayedCallsTest : public ::testing::Test {
protected:
    VirtualMainQueue queue;
    int ran = 0;
    Task count = [this] { ++ran; };
};

TEST_F(DelayedCallsTest, CancellingReachesEveryPendingRequestOfThatOperationOnly) {
    DelayedCalls calls(queue);
    calls.request("off", 300ms, count);
    calls.request("off", 400ms, count);
    calls.request("hide", 300ms, count);
    calls.cancel("off");
    queue.advance(1s);
    EXPECT_EQ(ran, 1);
}

TEST_F(DelayedCallsTest, ARestartedCallRunsOnceAtItsNewTime) {
    DelayedCalls calls(queue);
    for (int i = 0; i < 5; ++i) {
        calls.cancel("off");
        calls.request("off", 300ms, count);
        queue.advance(100ms);
    }
    queue.advance(199ms);
    EXPECT_EQ(ran, 0);
    queue.advance(1ms);
    EXPECT_EQ(ran, 1);
}

TEST_F(DelayedCallsTest, DestructionCancelsAndACallMayRequestItself) {
    auto calls = std::make_unique<DelayedCalls>(queue);
    calls->request("off", 10ms, [&] { calls->request("off", 10ms, count); });
    queue.advance(20ms);
    EXPECT_EQ(ran, 1);
    calls->request("off", 10ms, count);
    calls.reset();
    queue.advance(1s);
    EXPECT_EQ(ran, 1);
}

} // namespace
} // namespace companion
