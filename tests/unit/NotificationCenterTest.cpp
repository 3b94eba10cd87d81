#include "core/NotificationCenter.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace companion {
namespace {

constexpr std::string_view kName = "NAME";
constexpr std::string_view kOther = "OTHER";

class NotificationCenterTest : public ::testing::Test {
protected:
    NotificationCenter center;
    Lifetime life;
    std::vector<int> called;
    NotificationCenter::Handler note(int number) {
        return [this, number](const Notification &) { called.push_back(number); };
    }
};

TEST_F(NotificationCenterTest, ObserversMayPostAndAddObserversWhileBeingCalled) {
    center.addObserver(life, kName, [this](const Notification &) {
        called.push_back(1);
        for (int i = 0; i < 100; ++i) // Enough to make the list grow under the caller.
            center.addObserver(life, kName, note(3));
        center.post(kOther);
    });
    center.addObserver(life, kOther, note(2));
    center.addObserver(life, kName, note(4));
    center.post(kName);
    EXPECT_EQ(called, (std::vector{1, 2, 4})) << "one added during a post waits for the next";
}

TEST_F(NotificationCenterTest, AnObserverWhoseObjectIsGoneIsSkippedEvenWhenItGoesDuringThePost) {
    auto gone = std::make_unique<Lifetime>();
    center.addObserver(life, kName, [&](const Notification &) { gone.reset(); });
    center.addObserver(*gone, kName, note(1));
    center.post(kName);
    EXPECT_TRUE(called.empty());
}

} // namespace
} // namespace companion
