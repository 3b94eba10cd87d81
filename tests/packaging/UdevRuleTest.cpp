// The rule's text; only udev itself could show that it gives the rights.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace companion {
namespace {

TEST(UdevRule, TagsTheReceiversNodesByTheKernelsUpperCaseNamesBeforeTheRightsAreGiven) {
    std::ifstream file(COMPANION_RULE_WITH_LETTERS);
    std::string rules;
    for (std::string line; std::getline(file, line);)
        if (!line.starts_with('#'))
            rules += line + '\n';
    EXPECT_EQ(rules, R"(ACTION!="remove", SUBSYSTEM=="hidraw", KERNELS=="0003:0ABC:DEF0.*", TAG+="uaccess")"
                     "\n");
    EXPECT_LT(std::filesystem::path(COMPANION_RULE).filename().string(), "73-seat-late.rules");
}

} // namespace
} // namespace companion
