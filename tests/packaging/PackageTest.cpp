// The package that users install, as it was just made and unpacked.
#include "support/rig/CompanionProcess.h"
#include "support/rig/Screen.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace companion::rig {
namespace {

namespace fs = std::filesystem;

const std::string kRoot = COMPANION_PACKAGE_ROOT;
const std::string kUsr = kRoot + "/usr/";
const std::string kProgram = kUsr + "bin/presenter-companion";
const std::string kMetainfo = "share/metainfo/" COMPANION_COMPONENT_ID ".metainfo.xml";
const std::string kDesktopEntry = "share/applications/presenter-companion.desktop";
const std::string kManualPage = "share/man/man1/presenter-companion.1.gz";
const std::string kRule = "lib/udev/rules.d/70-presenter-companion.rules";
const std::string kIcons = "share/icons/hicolor/";

// What is installed anywhere, below the prefix.
const std::set<std::string> kInstalled{
    "bin/presenter-companion",
    kRule,
    kDesktopEntry,
    "share/doc/presenter-companion/CHANGELOG.md.gz",
    "share/doc/presenter-companion/copyright",
    kIcons + "scalable/apps/presenter-companion.svg",
    kIcons + "symbolic/apps/presenter-companion-symbolic.svg",
    kManualPage,
    kMetainfo,
};

// The output of a command that must end well.
std::string outputOf(const Command &command, const Environment &environment = inheritedEnvironment()) {
    const Ended ended = runToEnd(command, environment, 120s);
    EXPECT_EQ(ended.status, 0) << command.front() << "\n" << ended.out << ended.err;
    return ended.out;
}

std::set<std::string> filesBelow(const fs::path &folder) {
    std::set<std::string> files;
    for (const auto &entry : fs::recursive_directory_iterator(folder))
        if (!entry.is_directory())
            files.insert(fs::relative(entry.path(), folder));
    return files;
}

TEST(Package, HoldsWhatIsInstalledAndDebiansListOfChanges) {
    std::set<std::string> expected;
    for (const std::string &file : kInstalled)
        expected.insert("usr/" + file);
    expected.insert("usr/share/doc/presenter-companion/changelog.gz");
    EXPECT_EQ(filesBelow(kRoot), expected);
    outputOf({"cmp", kUsr + kRule, COMPANION_RULE});

    // Files belong to root, who alone may change them.
    std::istringstream listing(outputOf({"dpkg-deb", "--contents", COMPANION_PACKAGE}));
    for (std::string line; std::getline(listing, line);) {
        const bool executable = line.starts_with('d') || line.ends_with("/bin/presenter-companion");
        EXPECT_EQ(line.substr(1, 19), (executable ? "rwxr-xr-x" : "rw-r--r--") + std::string(" root/root"))
            << line;
    }
}

TEST(Package, AsksForWhatIsOnlyLoadedAtRunTimeToo) {
    const std::string depends = outputOf({"dpkg-deb", "--field", COMPANION_PACKAGE, "Depends"});
    for (const char *package : {"libqt6svg6 (<< 6.7.2-5~) | qt6-svg-plugins", "libqt6gui6", "libqt6widgets6",
                                "libhidapi-hidraw0", "libxcb-xinput0", "libc6"})
        EXPECT_NE(depends.find(package), std::string::npos) << package << " is not in " << depends;
}

TEST(Package, PleasesTheCheckersOfTheFilesThatOthersRead) {
    Environment environment = inheritedEnvironment();
    environment["LC_ALL"] = "C.UTF-8";
    outputOf({"lintian", "--allow-root", "--fail-on", "error,warning", COMPANION_PACKAGE}, environment);
    outputOf({"desktop-file-validate", kUsr + kDesktopEntry, COMPANION_AUTOSTART_ENTRY}, environment);
    outputOf({"appstreamcli", "validate", "--no-net", kUsr + kMetainfo}, environment);

    const Ended manual = runToEnd({"man", "--warnings", "-l", kUsr + kManualPage}, environment);
    EXPECT_EQ(manual.status, 0);
    EXPECT_EQ(manual.err, "");
    EXPECT_NE(manual.out.find("--virtual-receiver"), std::string::npos);
}

TEST(Package, ProgramIsHardenedStrippedAndLooksForLibrariesInTheSystemOnly) {
    const std::string facts = outputOf({"readelf", "--wide", "--file-header", "--program-headers",
                                        "--dynamic", "--dyn-syms", "--section-headers", kProgram});
    for (const char *wanted : {"Type:                              DYN", "GNU_RELRO", "BIND_NOW",
                               "__stack_chk_fail", "__memcpy_chk"})
        EXPECT_NE(facts.find(wanted), std::string::npos) << wanted;
    for (const char *unwanted : {"(RPATH)", "(RUNPATH)", "(TEXTREL)", ".symtab", ".debug_info"})
        EXPECT_EQ(facts.find(unwanted), std::string::npos) << unwanted;
    const std::string stack = facts.substr(std::min(facts.find("GNU_STACK"), facts.size()));
    EXPECT_NE(stack.substr(0, stack.find('\n')).find(" RW "), std::string::npos) << stack.substr(0, 100);
}

TEST(Package, InstalledProgramShowsAnEffect) {
    const Desktop desktop({.size = {640, 480}});
    EXPECT_EQ(outputOf({kProgram, "--version"}, desktop.environment()),
              "presenter-companion " COMPANION_VERSION "\n");
    const Screen screen(desktop);
    writeSettings(desktop, {{"LOCAL_MOUSETYPE", "2"}, {"LOCAL_FRONTALPHA", "1"}});
    ChildProcess program({kProgram, "--virtual-receiver=-"}, desktop.environment(), true);
    program.write("wait-get 2\nevent 10\n");
    screen.waitForPixel(desktop.centre(), qRgb(255, 0, 0));
    program.signal(SIGTERM);
    EXPECT_EQ(program.waitForExit(), 0);
}

// The rule's text, made for identifiers with letters; only udev itself could show that it gives the rights.
TEST(UdevRule, TagsTheReceiversNodesInTheKernelsLettersBeforeTheRightsAreGiven) {
    EXPECT_EQ(outputOf({"grep", "-v", "^#", COMPANION_RULE_WITH_LETTERS}),
              R"(ACTION!="remove", SUBSYSTEM=="hidraw", KERNELS=="0003:0ABC:DEF0.*", TAG+="uaccess")"
              "\n"
              R"(ACTION!="remove", SUBSYSTEM=="input", KERNEL=="event*", ATTRS{idVendor}=="0abc", )"
              R"(ATTRS{idProduct}=="def0", TAG+="uaccess")"
              "\n");
    EXPECT_LT(fs::path(kRule).filename().string(), "73-seat-late.rules");
}

TEST(Install, GoesBelowAnyPrefixAndIntoAStage) {
    const fs::path stage = fs::path(kRoot).parent_path() / "stage";
    fs::remove_all(stage);
    Environment environment = inheritedEnvironment();
    environment["DESTDIR"] = stage;
    outputOf({COMPANION_CMAKE, "--install", COMPANION_PACKAGE_BUILD, "--prefix", "/opt/companion"},
             environment);
    std::set<std::string> expected;
    for (const std::string &file : kInstalled)
        expected.insert("opt/companion/" + file);
    EXPECT_EQ(filesBelow(stage), expected);
}

} // namespace
} // namespace companion::rig
