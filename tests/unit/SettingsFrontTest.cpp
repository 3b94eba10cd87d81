#include "app/SettingsFront.h"

#include "support/FakePlatform.h"
#include "support/VirtualMainQueue.h"

#include <gtest/gtest.h>

namespace companion {
namespace {

using namespace std::chrono_literals;
using enum OwnWindows::Sight;

constexpr auto kNever = 24h;

// The window's sight is `first`, then `second` from `change` on; it closes at `closes`.
struct Case {
    const char *what;
    OwnWindows::Sight first, second;
    std::chrono::milliseconds change, closes;
    bool secondTryHelps;
    std::string_view outcome;
    std::chrono::milliseconds told;
    int tries;
};

TEST(SettingsFront, AnswersWithWhatIsSeenAfterASecondTryIfThatIsNeeded) {
    constexpr auto kUp = SettingsFront::kGivesUp;
    constexpr auto kTry = SettingsFront::kSecondTry;
    const Case cases[] = {
        {"seen at once", Seen, Seen, kNever, kNever, false, "seen", 50ms, 0},
        {"slow to be mapped", Absent, Seen, 300ms, kNever, false, "seen", 350ms, 0},
        {"seen for one look only", Seen, Covered, 20ms, kNever, false, "covered", kUp, 1},
        {"refused at first", Covered, Seen, kNever, kNever, true, "seen", kTry + 100ms, 1},
        {"covered for good", Covered, Covered, kNever, kNever, false, "covered", kUp, 1},
        {"never shown", Absent, Absent, kNever, kNever, false, "absent", kUp, 1},
        {"seen in the last moment", Absent, Seen, 980ms, kNever, false, "seen", kUp, 1},
        {"not to be known", Unknown, Unknown, kNever, kNever, false, "opened", 0ms, 0},
        {"never opened", Seen, Seen, kNever, 0ms, false, "closed", 0ms, 0},
        {"closed meanwhile", Covered, Covered, kNever, 120ms, false, "closed", 150ms, 0},
    };
    for (const Case &each : cases) {
        SCOPED_TRACE(each.what);
        VirtualMainQueue queue;
        FakeOwnWindows windows;
        SettingsFront front(queue, windows);
        std::vector<std::pair<std::string, std::chrono::milliseconds>> answers;
        std::chrono::milliseconds now{};
        int tries = 0;
        windows.sight = each.first;
        front.watch({[&] { return OwnWindows::Window(now < each.closes ? 7 : 0); },
                     [&] {
                         ++tries;
                         if (each.secondTryHelps)
                             windows.sight = each.second;
                     }},
                    [&](std::string_view outcome) { answers.emplace_back(outcome, now); });
        while (now < 3s) {
            now += 10ms;
            if (now >= each.change)
                windows.sight = each.second;
            queue.advance(10ms);
        }
        ASSERT_EQ(answers.size(), 1U);
        EXPECT_EQ(answers[0].first, each.outcome);
        EXPECT_EQ(answers[0].second, each.told);
        EXPECT_EQ(tries, each.tries);
    }
}

} // namespace
} // namespace companion
