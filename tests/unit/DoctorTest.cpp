#include "app/Doctor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

namespace companion {
namespace {

using Kind = DoctorFinding::Kind;

DoctorFacts healthy() {
    return {.version = "1.0",
            .qtVersion = "6.4",
            .receiver = builtInReceiverIdentity(),
            .nodes = {{"/dev/hidraw3", ""}},
            .ruleFile = "/etc/udev/rules.d/70-presenter-companion.rules",
            .sessionType = "x11",
            .display = ":0",
            .serverError = "",
            .serverLack = "",
            .windowManager = "Somebody's",
            .compositor = true,
            .compositorName = "picom",
            .xembedTray = true,
            .screens = {"eDP-1 1920x1080 at 0,0, scale 1, main"},
            .settingsFile = "/home/me/.config/file",
            .settingsWritable = true};
}

DoctorFacts healthyOnWayland() {
    DoctorFacts facts = healthy();
    facts.sessionType = "wayland";
    facts.drawsOnWayland = true;
    facts.serverError = "no X server: DISPLAY is not set"; // Not needed.
    facts.waylandClick = facts.waylandStill = "a protocol";
    facts.eventNodes = {{"/dev/input/event3", "Permission denied"}, {"/dev/input/event4", ""}};
    return facts;
}

DoctorFacts healthyThroughXwayland() {
    DoctorFacts facts = healthyOnWayland();
    facts.drawsOnWayland = false;
    facts.serverError.clear();
    return facts;
}

struct Fault {
    const char *subject;
    Kind kind;
    void (*apply)(DoctorFacts &facts);
    const char *remedy = "";
    DoctorFacts (*otherwise)() = healthy;
};

TEST(Doctor, EachFaultIsFoundWithItsRemedyOnOneScreenAndOnlyFatalOnesCount) {
    const Fault faults[] = {
        {"X server", Kind::Fatal, [](DoctorFacts &f) { f.serverError = "no X server: DISPLAY is not set"; }},
        {"X server", Kind::Fatal, [](DoctorFacts &f) { f.serverLack = "no alpha channel"; }},
        {"screens", Kind::Fatal, [](DoctorFacts &f) { f.screens.clear(); }},
        {"windows", Kind::Flaw, [](DoctorFacts &f) { f.windowManager = "KWin"; }, "WindowsBlockCompositing"},
        {"compositor", Kind::Flaw, [](DoctorFacts &f) { f.compositor = false; },
         "in your desktop's settings"},
        {"compositor", Kind::Flaw,
         [](DoctorFacts &f) {
             f.compositor = false;
             f.windowManager = "i3";
         },
         "none of its own"},
        {"compositor", Kind::Flaw, // Its other flaw needs one that runs.
         [](DoctorFacts &f) {
             f.compositor = false;
             f.windowManager = "KWin";
         },
         "in the system settings"},
        {"tray", Kind::Flaw, [](DoctorFacts &f) { f.xembedTray = false; }, "notification area"},
        {"tray", Kind::Flaw,
         [](DoctorFacts &f) {
             f.xembedTray = false;
             f.windowManager = "GNOME Shell";
         },
         "AppIndicator"},
        {"receiver", Kind::Fatal, [](DoctorFacts &f) { f.nodes.clear(); }},
        {"permission", Kind::Fatal, [](DoctorFacts &f) { f.nodes[0].error = "Permission denied"; }},
        {"settings", Kind::Flaw, [](DoctorFacts &f) { f.settingsWritable = false; }},
        {"click", Kind::Flaw, [](DoctorFacts &f) { f.waylandClick.clear(); }, "", healthyOnWayland},
        {"pictures", Kind::Flaw, [](DoctorFacts &f) { f.waylandStill.clear(); }, "", healthyOnWayland},
        {"slide keys", Kind::Flaw, [](DoctorFacts &f) { f.eventNodes.pop_back(); }, "event*",
         healthyOnWayland},
        {"screens", Kind::Fatal, [](DoctorFacts &f) { f.screens.clear(); }, "", healthyOnWayland},
        {"click", Kind::Flaw, [](DoctorFacts &f) { f.waylandClick.clear(); }, "--allow-clicks",
         healthyThroughXwayland},
        {"pictures", Kind::Flaw, [](DoctorFacts &f) { f.waylandStill.clear(); }, "portal",
         healthyThroughXwayland},
        {"X server", Kind::Fatal, [](DoctorFacts &f) { f.serverLack = "no alpha channel"; }, "",
         healthyThroughXwayland},
    };
    for (const Fault &fault : faults) {
        DoctorFacts facts = fault.otherwise();
        fault.apply(facts);
        const auto findings = examine(facts);
        for (const auto &finding : findings) {
            EXPECT_EQ(finding.kind, finding.subject == fault.subject ? fault.kind : Kind::Fine)
                << finding.subject << " with a fault in " << fault.subject;
            EXPECT_EQ(finding.remedy.empty(), finding.kind == Kind::Fine) << finding.subject;
        }
        EXPECT_EQ(doctorStatus(findings), fault.kind == Kind::Fatal ? 1 : 0) << fault.subject;
        const std::string report = doctorReport(findings);
        const std::size_t remedies = report.find("-> ");
        ASSERT_NE(remedies, std::string::npos);
        EXPECT_NE(report.find(fault.remedy, remedies), std::string::npos) << report;
        EXPECT_LE(std::count(report.begin(), report.end(), '\n'), 24);
    }
}

TEST(Doctor, MissingRuleIsGivenAsItIsInstalledAndAnIneffectiveOneIsNamed) {
    DoctorFacts facts = healthy();
    facts.nodes = {{"/dev/hidraw3", "Permission denied"}, {"/dev/hidraw4", "Permission denied"}};
    facts.ruleFile.clear();
    std::ifstream installed(COMPANION_RULE);
    std::string rules;
    for (std::string line; std::getline(installed, line);) {
        if (line.starts_with('#'))
            continue;
        EXPECT_NE(doctorReport(examine(facts)).find(line), std::string::npos) << line;
        rules += (rules.empty() ? "" : "\n") + line;
    }
    EXPECT_EQ(udevRuleFor(facts.receiver), rules);

    facts.ruleFile = "/etc/udev/rules.d/99-own.rules";
    EXPECT_NE(doctorReport(examine(facts)).find("99-own.rules"), std::string::npos);
    EXPECT_NE(doctorReport(examine(facts)).find("before 73-seat-late.rules"), std::string::npos);
    facts.nodes[1].error.clear(); // A keyboard's node before it may stay closed.
    EXPECT_EQ(doctorStatus(examine(facts)), 0);
}

} // namespace
} // namespace companion
