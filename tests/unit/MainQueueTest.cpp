#include "core/DelayedCalls.h"
#include "core/QtMainQueue.h"
#include "support/VirtualMainQueue.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <gtest/gtest.h>

#include <array>
#include <functional>
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
    for (int i = 0; i < 100; ++i) // Due together: in posting order.
        this->rig.queue.post(20ms, this->note(5 + i));
    this->rig.queue.post(10ms, this->note(4));
    this->rig.queue.post(0ms, [this] {
        this->rig.queue.post(0ms, this->note(3));
        this->note(1)();
    });
    this->rig.queue.post(-5ms, this->note(2));
    EXPECT_TRUE(this->ran.empty());
    this->rig.pass(25ms);
    ASSERT_EQ(this->ran.size(), 104U);
    EXPECT_TRUE(std::is_sorted(this->ran.begin(), this->ran.end()));
}

TEST(QtMainQueueTest, ATurnsEndRunsWhatTheTurnPostedAndWhatThatPostsButNothingForEver) {
    QtMainQueue queue;
    std::vector<int> ran;
    std::function<void()> again = [&] {
        ran.push_back(static_cast<int>(ran.size()));
        queue.post(0ms, again);
    };
    {
        const MainQueue::Turn turn(queue);
        const MainQueue::Turn nested(queue);
        again();
        queue.post(1h, [&] { ran.push_back(99); });
        EXPECT_EQ(ran.size(), 1U) << "never inside post()";
    }
    EXPECT_EQ(ran, (std::vector{0, 1, 2}));
    QCoreApplication::processEvents();
    EXPECT_GT(ran.size(), 3U) << "the rest is the loop's";
    again = [] {};
}

TEST(QtMainQueueTest, ALoopInsideATurnSleepsOnNothing) {
    QtMainQueue queue;
    const MainQueue::Turn turn(queue);
    QEventLoop loop;
    std::vector<int> ran;
    queue.post(5ms, [&] {
        ran.push_back(2);
        queue.post(0ms, [&] { loop.quit(); });
    });
    queue.post(0ms, [&] { ran.push_back(1); });
    loop.exec();
    EXPECT_EQ(ran, (std::vector{1, 2}));
}

TEST(TaskTest, CarriesWhatOnlyMovesAndLetsItGoOnceWhetherItLiesInsideOrNot) {
    const auto watched = std::make_shared<int>(0);
    const auto check = [&](auto filling) {
        Task task = [watched, filling, own = std::make_unique<int>(7)] {
            *watched += *own + int(filling[0]);
        };
        Task moved = std::move(task);
        EXPECT_FALSE(task);
        EXPECT_THROW(task(), std::bad_function_call);
        moved();
        EXPECT_EQ(watched.use_count(), 2);
        moved = [] {};
        EXPECT_EQ(watched.use_count(), 1);
    };
    check(std::array<char, 1>{});
    check(std::array<char, 2 * Task::kRoom>{});
    EXPECT_EQ(*watched, 14);
}

TEST(DelayedCallsTest, CancellingReachesEveryRequestOfItsOperationAndDestructionAllOfThem) {
    VirtualMainQueue queue;
    int ran = 0;
    const auto count = [&ran] { ++ran; };
    auto calls = std::make_unique<DelayedCalls>(queue);
    calls->request("off", 300ms, count);
    calls->request("off", 400ms, count);
    calls->request("hide", 300ms, [&] { calls->request("hide", 10ms, count); }); // Itself again.
    calls->cancel("off");
    queue.advance(1s);
    EXPECT_EQ(ran, 1);
    calls->request("off", 10ms, count);
    calls.reset();
    queue.advance(1s);
    EXPECT_EQ(ran, 1);
}

} // namespace
} // namespace companion
