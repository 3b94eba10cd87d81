// The user's own autostart entry.
#include "app/Autostart.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace companion {
namespace {

namespace fs = std::filesystem;

class AutostartTest : public ::testing::Test {
protected:
    std::string content() const {
        std::ostringstream all;
        all << std::ifstream(entry).rdbuf();
        return all.str();
    }

    QTemporaryDir folder;
    AutostartPlaces places{folder.path().toStdString() + "/own", {folder.path().toStdString() + "/machine"}};
    std::string entry = places.own + "/autostart/presenter-companion.desktop";
};

TEST_F(AutostartTest, IsWrittenAndRemovedAndNothingElseIsTouched) {
    ASSERT_TRUE(disableAutostart(places).done);
    EXPECT_FALSE(fs::exists(places.own)) << "nothing to remove, nothing made";
    const auto on = enableAutostart(places, "/opt/pc/presenter-companion");
    ASSERT_TRUE(on.done) << on.text;
    EXPECT_NE(on.text.find(entry), std::string::npos);
    EXPECT_NE(content().find("\nExec=\"/opt/pc/presenter-companion\"\n"), std::string::npos) << content();
    std::ofstream(places.own + "/autostart/other.desktop") << "x";
    ASSERT_TRUE(enableAutostart(places, "/usr/bin/presenter-companion").done);
    EXPECT_EQ(content().find("/opt"), std::string::npos);
    ASSERT_TRUE(disableAutostart(places).done);
    EXPECT_FALSE(fs::exists(entry));
    EXPECT_EQ(std::distance(fs::directory_iterator(places.own + "/autostart"), {}), 1);

    fs::create_directories(places.common[0] + "/autostart");
    std::ofstream(places.common[0] + "/autostart/presenter-companion.desktop") << "[Desktop Entry]\n";
    ASSERT_TRUE(disableAutostart(places).done);
    EXPECT_NE(content().find("\nHidden=true\n"), std::string::npos) << "hides the machine's entry";
    ASSERT_TRUE(enableAutostart(places, "/usr/bin/p").done);
    EXPECT_EQ(content().find("Hidden"), std::string::npos);
}

TEST_F(AutostartTest, QuotesWhateverAPathMayHold) {
    const std::pair<const char *, const char *> cases[] = {
        {"/a b/p", R"("/a b/p")"},     {"/100%/p", R"("/100%%/p")"},
        {"/a\"b/p", R"("/a\\"b/p")"},  {"/$HOME/p", R"("/\\$HOME/p")"},
        {"/a\\b/p", R"("/a\\\\b/p")"}, {"/a\nb/p", R"("/a\nb/p")"},
        {"/a\nExec=b", nullptr},       {"", nullptr},
    };
    for (const auto &[path, quoted] : cases) {
        SCOPED_TRACE(path);
        const auto result = enableAutostart(places, path);
        EXPECT_EQ(result.done, quoted != nullptr);
        if (quoted != nullptr) {
            EXPECT_NE(content().find(std::string("\nExec=") + quoted + "\n"), std::string::npos) << content();
        }
        EXPECT_EQ(result.text.find('\n'), std::string::npos);
    }
}

// As a full disk, which takes the file but not its content.
TEST_F(AutostartTest, AnEntryThatCannotBeWrittenIsToldAndLeavesTheOneBefore) {
    ASSERT_TRUE(enableAutostart(places, "/before/p").done);
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit none{8, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &none);
    const auto on = enableAutostart(places, "/after/p");
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(on.done);
    EXPECT_NE(on.text.find(entry), std::string::npos);
    EXPECT_NE(content().find("/before/p"), std::string::npos);
    EXPECT_EQ(std::distance(fs::directory_iterator(places.own + "/autostart"), {}), 1);
}

} // namespace
} // namespace companion
