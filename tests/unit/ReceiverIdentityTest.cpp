#include "receiver/ReceiverIdentity.h"
#include "platform/hidapi/InterfaceChoice.h"

#include <gtest/gtest.h>

namespace companion {
namespace {

TEST(ReceiverIdentityTest, AnythingElseIsAnErrorThatQuotesTheOffender) {
    const std::pair<const char *, const char *> cases[] = {
        {"1209", "'1209'"}, {"12090:1", "'12090'"}, {":1", "''"},         {"0x12:1", "'0x12'"},
        {"-1:1", "'-1'"},   {"1209:1:2", "'1:2'"},  {"0000:1", "'0000'"}, {"12\n:1", "'12\\n'"},
    };
    std::string error;
    EXPECT_EQ(parseReceiverIdentity("fFfF:0", error), (ReceiverIdentity{0xFFFF, 0}));
    for (const auto &[text, offender] : cases) {
        EXPECT_FALSE(parseReceiverIdentity(text, error)) << text;
        EXPECT_TRUE(error.starts_with(offender)) << error;
    }
}

// What a look at several interfaces in that order would choose, and how many it opened.
struct Choice {
    int index;
    int asked = 0;
};

Choice choose(const std::vector<HidUsage> &usages, const std::string &answering) {
    Choice choice{-1};
    choice.index = chooseInterface(likeliestFirst(usages), [&](const HidInterface &each, bool mustAnswer) {
        ++choice.asked;
        return !mustAnswer || each.path == answering;
    });
    return choice;
}

TEST(InterfaceChoiceTest, ALoneInterfaceIsTakenUnaskedUnlessItIsAKeyboardsWhichMayAppearFirstOfSeveral) {
    EXPECT_EQ(choose({{"a", 0x01}, {"a", 0x0C}, {"a", 0xFFA0}}, "none").index, 0) << "three usages of one";
    EXPECT_EQ(choose({{"a", 0}}, "none").index, 0)
        << "a descriptor that cannot be read says nothing against it";
    EXPECT_EQ(choose({{"keyboard", 0x01}}, "none").index, -1);
    EXPECT_EQ(choose({{"keyboard", 0x01}}, "keyboard").index, 0) << "a rare case";
    EXPECT_EQ(choose({}, "none").index, -1);
}

TEST(InterfaceChoiceTest, OfSeveralTheOneThatAnswersIsTakenAndTheLikeliestIsAskedFirst) {
    const std::vector<HidUsage> usages = {{"keyboard", 0x01}, {"keyboard", 0x0C}, {"vendor", 0xFF00}};
    EXPECT_EQ(likeliestFirst(usages)[0].path, "vendor");
    EXPECT_EQ(choose(usages, "vendor").asked, 1);
    EXPECT_EQ(choose(usages, "keyboard").index, 1);
}

} // namespace
} // namespace companion
