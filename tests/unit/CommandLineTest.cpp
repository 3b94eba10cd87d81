// What a command line asks for, without running it.
#include "app/CommandLine.h"

#include <gtest/gtest.h>

#include <vector>

namespace companion {
namespace {

using Action = CommandLine::Action;
using Arguments = std::vector<const char *>;

TEST(CommandLineParsing, OptionsAskForOneThingWithOrWithoutAnEqualsSign) {
    const std::pair<Arguments, Action> cases[] = {
        {{"--settings", "--virtual-receiver", "--settings"}, Action::Run},
        {{"--autostart=on"}, Action::AutostartOn},
        {{"--autostart", "off"}, Action::AutostartOff},
        {{"--quit", "--help", "--settings"}, Action::Help},
    };
    for (const auto &[arguments, action] : cases) {
        std::string error;
        const auto line = parseCommandLine(arguments, error);
        ASSERT_TRUE(line) << error;
        EXPECT_EQ(line->action, action);
    }
}

TEST(CommandLineParsing, ThingsThatExcludeEachOtherAreRefusedByName) {
    struct Case {
        Arguments arguments;
        std::vector<std::string> named;
    };
    const Case cases[] = {
        {{"--quit", "--settings"}, {"--quit", "--settings"}},
        {{"--doctor", "--autostart", "on"}, {"--doctor", "--autostart"}},
        {{"--autostart=on", "--autostart=off"}, {"--autostart", "on", "off"}},
        {{"--autostart"}, {"--autostart", "on|off"}},
        {{"--autostart", "--quit"}, {"--autostart", "--quit"}},
        {{"--quit=now"}, {"--quit=now"}},
        {{"--allow-clicks", "--doctor"}, {"--allow-clicks", "--doctor"}},
        {{"--platform=mir"}, {"--platform", "x11", "wayland", "mir"}},
    };
    for (const Case &each : cases) {
        SCOPED_TRACE(::testing::PrintToString(each.arguments));
        std::string error;
        EXPECT_FALSE(parseCommandLine(each.arguments, error));
        for (const std::string &name : each.named)
            EXPECT_NE(error.find(name), std::string::npos) << error;
    }
}

} // namespace
} // namespace companion
