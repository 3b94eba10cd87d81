// The manual page is written by hand; what it describes is compared with what there is.
#include "platform/virtual_receiver/ReceiverCommand.h"
#include "support/rig/CompanionProcess.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace companion::rig {
namespace {

// Without the page's mark-up and without blanks: "\fBwait\fR \fIMS\fR" is "waitMS".
std::string plain(std::string text) {
    for (const auto &[what, by] : {std::pair{R"(^\.[BIR]+ )", ""},
                                   {R"(\\f[BIR])", ""},
                                   {R"(\\-)", "-"},
                                   {R"(\.\.\.)", "…"},
                                   {R"([ "])", ""}})
        text = std::regex_replace(text, std::regex(what), by);
    return text;
}

// The tags of the paragraphs in one section.
std::set<std::string> described(const std::string &section) {
    std::ifstream page(COMPANION_MANUAL_PAGE);
    std::set<std::string> tags;
    std::string current;
    for (std::string line, before; std::getline(page, line); before = line) {
        if (line.starts_with(".SH "))
            current = line.substr(4);
        else if (current == section && before == ".TP")
            tags.insert(plain(line));
    }
    return tags;
}

TEST(ManualPage, DescribesTheOptionsOfTheHelpTextAndNoOthers) {
    const Ended program = runCompanion({"--help"}, inheritedEnvironment());
    ASSERT_EQ(program.status, 0);
    std::set<std::string> options;
    std::istringstream help(program.out);
    for (std::string line; std::getline(help, line);)
        if (line.starts_with("  --"))
            options.insert(line.substr(2, line.find(' ', 2) - 2));
    EXPECT_GE(options.size(), 9U) << program.out;
    EXPECT_EQ(described("OPTIONS"), options);
}

TEST(ManualPage, DescribesTheVirtualReceiversCommandsAndNoOthers) {
    std::set<std::string> commands;
    for (const std::string_view usage : receiverCommandUsages())
        commands.insert(plain(std::string(usage.substr(0, usage.find(',')))));
    EXPECT_EQ(described("VIRTUAL RECEIVER"), commands);
}

} // namespace
} // namespace companion::rig
