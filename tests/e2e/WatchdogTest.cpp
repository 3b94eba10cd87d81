// A receiver that keeps silent stops the program in the middle of a poll: the audience must not notice.
#include "e2e/Talk.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace companion::rig {
namespace {

constexpr const char *kStuck = "the program was stuck; the overlay was out of the way meanwhile";

// How often its thread has run; -1 without one.
long turnsOfTheWatchdog(pid_t program) {
    for (const auto &task :
         std::filesystem::directory_iterator("/proc/" + std::to_string(program) + "/task")) {
        std::string name;
        std::ifstream(task.path() / "comm") >> name;
        std::ifstream status(task.path() / "status");
        for (std::string line; name == "watchdog" && std::getline(status, line);)
            if (line.starts_with("voluntary_ctxt_switches:"))
                return std::stol(line.substr(line.find(':') + 1));
    }
    return -1;
}

TEST(Watchdog, HealthyProgramIsLeftAloneAndAStuckOneLetsGoWithinHalfASecondAndComesBack) {
    for (const bool compositor : {true, false}) {
        // All that is seen without a compositor is the laser's dot.
        Talk talk(compositor ? kSpotlight : kLaser, {.size = {800, 600}, .compositor = compositor});
        talk.companion.effectOn();
        letTimePass(1s); // Twice as long as it would leave a stuck program.
        EXPECT_TRUE(talk.effectSeen());
        EXPECT_EQ(talk.companion.logCount(kStuck), 0);
        waitUntil("no cursor", [&] { return !talk.screen.cursorVisible(); });
        talk.slide.forget();
        talk.hand.clickAt({60, 310});
        EXPECT_FALSE(talk.slide.pressedAt({60, 310})) << "the overlay takes the mouse";

        talk.companion.receiver("delay 3000"); // From the next poll on, at most 0.1 s away.
        const auto stuck = std::chrono::steady_clock::now();
        waitUntil("a free mouse", [&] {
            talk.hand.clickAt({70, 320});
            return talk.slide.pressedAt({70, 320});
        });
        talk.expectPlainSlide();
        waitUntil("the cursor", [&] { return talk.screen.cursorVisible(); });
        EXPECT_LT(std::chrono::steady_clock::now() - stuck, 1200ms);
        EXPECT_EQ(talk.companion.logCount(kStuck), 0) << "it is still stuck";

        talk.companion.receiver("delay 0");
        waitUntil("the effect again", [&] { return talk.effectSeen(); });
        EXPECT_EQ(talk.companion.logCount(kStuck), 1);
        talk.companion.effectOff();
        talk.expectPlainSlide();
        const long turns = turnsOfTheWatchdog(talk.companion.process().pid());
        EXPECT_GT(turns, 0);
        letTimePass(1200ms);
        EXPECT_EQ(turnsOfTheWatchdog(talk.companion.process().pid()), turns) << "it sleeps when all is idle";
        talk.companion.effectOn();
        waitUntil("the next effect", [&] { return talk.effectSeen(); });
        talk.hand.clickAt({80, 330});
        EXPECT_FALSE(talk.slide.pressedAt({80, 330}));
        for (const auto &line : talk.companion.log())
            EXPECT_EQ(line.text.find("refused"), std::string::npos) << line.text;

        // Let go while nobody is heard: nothing flashes up between the slow reads.
        talk.companion.receiver("event 00");
        talk.companion.receiver("delay 1500");
        talk.expectPlainSlide();
        talk.expectLookStays("the plain slide", plainLook(kSlideColour), 3s);
    }
}

} // namespace
} // namespace companion::rig
