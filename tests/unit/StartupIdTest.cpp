#include "core/StartupId.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace companion {
namespace {

TEST(StartupId, IsTakenFromTheEnvironmentOnceAndDroppedUnlessItCanBeOne) {
    const std::string longest(kLongestStartupId, 'x');
    const struct {
        const char *older;
        const char *newer;
        std::string taken;
    } cases[] = {
        {"host-12_TIME345", "token", "host-12_TIME345"},
        {"", "token", "token"},
        {"two words", "token", "token"},
        {"a\nquit", "\xc3\xa4", ""},
        {longest.c_str(), "token", longest},
        {"", "", ""},
    };
    for (const auto &each : cases) {
        ::setenv("DESKTOP_STARTUP_ID", each.older, 1);
        ::setenv("XDG_ACTIVATION_TOKEN", each.newer, 1);
        EXPECT_EQ(takeStartupId(), each.taken);
        EXPECT_EQ(takeStartupId(), "");
    }
    EXPECT_EQ(checkedStartupId(longest + 'x'), "");
}

TEST(StartupId, SaysWhenTheUserAskedOnlyIfItEndsInATime) {
    EXPECT_EQ(startupTime("i3/xterm/12-0-host_TIME4294967295"), 4294967295U);
    for (const char *id : {"", "token", "a_TIME", "a_TIME12x", "a_TIME-1", "a_TIME4294967296"})
        EXPECT_EQ(startupTime(id), 0U) << id;
}

} // namespace
} // namespace companion
