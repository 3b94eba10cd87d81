#include "app/Doctor.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <optional>

namespace companion {
namespace {

using Kind = DoctorFinding::Kind;

// Udev's rules work in the order of their names; this one opens what those before it have tagged.
constexpr const char *kGivesRights = "73-seat-late.rules";

std::string text(const ReceiverIdentity &identity) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%04X:%04X", identity.vendorId, identity.productId);
    return digits;
}

std::string joined(const std::vector<std::string> &texts) {
    std::string all;
    for (const std::string &each : texts)
        all += (all.empty() ? "" : "; ") + each;
    return all;
}

// What window managers lack, and what helps there. Told apart by the name that they give themselves.
struct WindowManagerFacts {
    const char *name;
    const char *compositing; // How its users get a compositor when none runs.
    const char *tray;        // And a tray.
    const char *limit;       // That it has at its best.
    const char *limitRemedy;
};

constexpr const char *kHasNone = "it has none of its own: start one with it, such as picom";

constexpr WindowManagerFacts kWindowManagers[] = {
    {"GNOME Shell", nullptr, "for the menu, install the AppIndicator extension and turn it on", nullptr,
     nullptr},
    {"KWin",
     "turn compositing on in the system settings; if a full-screen window has stopped it, it comes back "
     "after "
     "that",
     nullptr, "stops compositing for some full-screen videos, and an effect shows a still then",
     "to see it live, set WindowsBlockCompositing=false in [Compositing] of ~/.config/kwinrc and log in "
     "again"},
    {"Xfwm4", "turn compositing on in the window manager's tweaks", nullptr, nullptr, nullptr},
    {"Metacity (Marco)", "gsettings set org.mate.Marco.general compositing-manager true", nullptr, nullptr,
     nullptr},
    {"i3", kHasNone, nullptr, nullptr, nullptr},
    {"Openbox", kHasNone, nullptr, nullptr, nullptr},
};

constexpr WindowManagerFacts kAnyOther{nullptr, nullptr, nullptr, nullptr, nullptr};

const WindowManagerFacts &known(const DoctorFacts &facts) {
    const auto *found =
        std::find_if(std::begin(kWindowManagers), std::end(kWindowManagers),
                     [&](const WindowManagerFacts &each) { return facts.windowManager == each.name; });
    return found == std::end(kWindowManagers) ? kAnyOther : *found;
}

DoctorFinding version(const DoctorFacts &facts) {
    return {Kind::Fine,
            "program",
            "presenter-companion " + facts.version + ", Qt " + facts.qtVersion + ", for receivers " +
                text(facts.receiver),
            {}};
}

DoctorFinding session(const DoctorFacts &facts) {
    std::string type = facts.sessionType.empty() ? "of no known type" : facts.sessionType;
    if (facts.goesThroughXwayland())
        type += ", through XWayland" + (facts.waylandLack.empty() ? "" : ": " + facts.waylandLack);
    return {Kind::Fine, "session", type, {}};
}

DoctorFinding overlay(const DoctorFacts &) {
    return {Kind::Fine, "overlay", "above all windows, and takes the mouse", {}};
}

DoctorFinding click(const DoctorFacts &facts) {
    if (!facts.waylandClick.empty())
        return {Kind::Fine, "click", "by " + facts.waylandClick, {}};
    return {
        Kind::Flaw, "click",
        facts.goesThroughXwayland() ? "in the middle of the screen, it reaches X11 windows only"
                                    : "the compositor lets us not click the middle of the screen",
        "on Plasma, install the program: its desktop entry asks for the right; elsewhere let the desktop\n"
        "ask you: presenter-companion --allow-clicks"};
}

DoctorFinding still(const DoctorFacts &facts) {
    if (!facts.waylandStill.empty())
        return {Kind::Fine, "pictures", "by " + facts.waylandStill, {}};
    return {Kind::Flaw, "pictures",
            facts.goesThroughXwayland() ? "the desktop gives none: the magnifier shows X11 windows only"
                                        : "the desktop gives none: the magnifier stays empty",
            "install your desktop's portal, such as xdg-desktop-portal-gnome, or use another effect"};
}

DoctorFinding keys(const DoctorFacts &facts) {
    const auto readable = std::find_if(facts.eventNodes.begin(), facts.eventNodes.end(),
                                       [](const EventNode &node) { return node.error.empty(); });
    if (readable != facts.eventNodes.end())
        return {Kind::Fine, "slide keys", "we may read " + readable->path, {}};
    if (facts.eventNodes.empty())
        return {Kind::Flaw, "slide keys", "the receiver is no keyboard: the magnifier keeps its picture",
                "let the effect key go and hold it again after each slide"};
    return {
        Kind::Flaw, "slide keys",
        facts.eventNodes.front().path + ": " + facts.eventNodes.front().error +
            ": the magnifier keeps its picture",
        "put these lines into /etc/udev/rules.d/70-presenter-companion.rules, then unplug the receiver and\n"
        "plug it in again:\n" +
            udevRuleFor(facts.receiver)};
}

DoctorFinding server(const DoctorFacts &facts) {
    if (!facts.serverError.empty())
        return {Kind::Fatal, "X server", facts.serverError,
                facts.sessionType == "wayland"
                    ? "turn XWayland on in your desktop's settings, or log in to an X11 session"
                    : "start the program from a terminal inside your desktop session"};
    if (!facts.serverLack.empty())
        return {Kind::Fatal, "X server", facts.display + ": " + facts.serverLack,
                "turn it on in the X server's configuration, or use one that has it, such as X.Org's"};
    return {Kind::Fine, "X server", facts.display + " lets us in", {}};
}

DoctorFinding screens(const DoctorFacts &facts) {
    if (facts.screens.empty())
        return {Kind::Fatal, "screens", "none", "connect a screen or turn one on"};
    return {Kind::Fine, "screens", joined(facts.screens), {}};
}

DoctorFinding windowManager(const DoctorFacts &facts) {
    if (facts.windowManager.empty())
        return {Kind::Fine, "windows", "no window manager that tells its name", {}};
    const WindowManagerFacts &manager = known(facts);
    if (manager.limit != nullptr && facts.compositor)
        return {Kind::Flaw, "windows", facts.windowManager + " " + manager.limit, manager.limitRemedy};
    return {Kind::Fine, "windows", "managed by " + facts.windowManager, {}};
}

DoctorFinding compositor(const DoctorFacts &facts) {
    if (facts.compositor)
        return {Kind::Fine,
                "compositor",
                facts.compositorName.empty()
                    ? "runs"
                    : "runs: " + facts.compositorName +
                          (facts.compositorName == facts.windowManager ? ", the window manager's own" : ""),
                {}};
    const char *remedy = known(facts).compositing;
    return {Kind::Flaw, "compositor", "none: the screen around an effect is a still picture",
            remedy != nullptr
                ? remedy
                : "turn compositing on in your desktop's settings, or start one, such as picom"};
}

DoctorFinding tray(const DoctorFacts &facts) {
    if (facts.xembedTray || facts.statusNotifierTray) {
        std::vector<std::string> kinds;
        if (facts.statusNotifierTray)
            kinds.emplace_back("StatusNotifier");
        if (facts.xembedTray)
            kinds.emplace_back("XEmbed");
        return {Kind::Fine, "tray", "shows status icons (" + joined(kinds) + ")", {}};
    }
    const char *remedy = known(facts).tray;
    return {
        Kind::Flaw, "tray", "none: the program's menu cannot be reached; the effects work",
        std::string("presenter-companion --settings opens the settings, presenter-companion --quit ends the "
                    "program;\n") +
            (remedy != nullptr ? remedy : "for the menu, add a tray (\"notification area\") to your panel")};
}

DoctorFinding receiver(const DoctorFacts &facts) {
    if (facts.nodes.empty())
        return {Kind::Fatal, "receiver", text(facts.receiver) + " is not plugged in",
                "plug it in; if it is, look for its numbers with lsusb and pass them with --receiver"};
    std::vector<std::string> paths;
    for (const ReceiverNode &node : facts.nodes)
        paths.push_back(node.path);
    return {Kind::Fine, "receiver", text(facts.receiver) + " is at " + joined(paths), {}};
}

DoctorFinding permission(const DoctorFacts &facts) {
    const auto open = std::find_if(facts.nodes.begin(), facts.nodes.end(),
                                   [](const ReceiverNode &node) { return node.error.empty(); });
    if (open != facts.nodes.end())
        return {Kind::Fine, "permission", "we may open " + open->path, {}};
    const std::string refused = facts.nodes.front().path + ": " + facts.nodes.front().error;
    if (!facts.ruleFile.empty()) {
        const bool late = facts.ruleFile.substr(facts.ruleFile.rfind('/') + 1) > kGivesRights;
        return {Kind::Fatal, "permission", refused + ", though " + facts.ruleFile + " names the receiver",
                (late ? std::string("give that file a name before ") + kGivesRights +
                            ", such as 70-own.rules, then\n"
                      : std::string()) +
                    "unplug the receiver and plug it in again; only the user who sits at this machine may "
                    "open it"};
    }
    return {
        Kind::Fatal, "permission", refused + ", and no rule names the receiver",
        "put these lines into /etc/udev/rules.d/70-presenter-companion.rules, then unplug the receiver and\n"
        "plug it in again:\n" +
            udevRuleFor(facts.receiver)};
}

DoctorFinding settings(const DoctorFacts &facts) {
    if (facts.settingsWritable)
        return {Kind::Fine, "settings", facts.settingsFile, {}};
    return {Kind::Flaw, "settings",
            facts.settingsFile + " cannot be written: changes last until the end only",
            "give yourself the right to write that file and its folder"};
}

struct Check {
    enum class Of { Every, X11, Wayland, Screens };
    Of display;
    bool needsReceiver;
    DoctorFinding (*examine)(const DoctorFacts &facts);

    bool concerns(const DoctorFacts &facts) const {
        if (needsReceiver && facts.nodes.empty())
            return false;
        const bool serves = facts.drawsOnWayland || facts.serverError.empty();
        return display == Of::Every || (display == Of::Wayland && serves && facts.sessionType == "wayland") ||
               (display == Of::X11 && !facts.drawsOnWayland && (serves || examine == server)) ||
               (display == Of::Screens && serves);
    }
};

constexpr Check kChecks[] = {
    {Check::Of::Every, false, version},   {Check::Of::Every, false, session},
    {Check::Of::X11, false, server},      {Check::Of::Wayland, false, overlay},
    {Check::Of::Screens, false, screens}, {Check::Of::X11, false, windowManager},
    {Check::Of::X11, false, compositor},  {Check::Of::Wayland, false, click},
    {Check::Of::Wayland, false, still},   {Check::Of::Screens, false, tray},
    {Check::Of::Every, false, receiver},  {Check::Of::Every, true, permission},
    {Check::Of::Wayland, true, keys},     {Check::Of::Every, false, settings},
};

} // namespace

std::vector<DoctorFinding> examine(const DoctorFacts &facts) {
    std::vector<DoctorFinding> findings;
    for (const Check &check : kChecks)
        if (check.concerns(facts))
            findings.push_back(check.examine(facts));
    return findings;
}

std::string doctorReport(const std::vector<DoctorFinding> &findings) {
    constexpr std::size_t kColumn = 20;
    std::string report;
    for (const DoctorFinding &finding : findings) {
        const char *mark =
            finding.kind == Kind::Fine ? "ok" : (finding.kind == Kind::Flaw ? "note" : "FAULT");
        std::string line = mark;
        line.resize(7, ' ');
        line += finding.subject;
        line.resize(kColumn, ' ');
        report += line + finding.text + "\n";
        std::string rest = finding.remedy;
        for (bool first = true; !rest.empty(); first = false) {
            const std::size_t end = std::min(rest.find('\n'), rest.size());
            report += std::string(kColumn, ' ') + (first ? "-> " : "   ") + rest.substr(0, end) + "\n";
            rest.erase(0, std::min(end + 1, rest.size()));
        }
    }
    report += doctorStatus(findings) == 0 ? "\nThe effects can work on this machine.\n"
                                          : "\nThe effects cannot work before each FAULT is put right.\n";
    return report;
}

int doctorStatus(const std::vector<DoctorFinding> &findings) {
    return std::any_of(findings.begin(), findings.end(),
                       [](const DoctorFinding &finding) { return finding.kind == Kind::Fatal; });
}

std::string udevRuleFor(const ReceiverIdentity &receiver) {
    char vendor[8];
    char product[8];
    std::snprintf(vendor, sizeof vendor, "%04x", receiver.vendorId); // As in sysfs.
    std::snprintf(product, sizeof product, "%04x", receiver.productId);
    return "ACTION!=\"remove\", SUBSYSTEM==\"hidraw\", KERNELS==\"0003:" + text(receiver) +
           ".*\", TAG+=\"uaccess\"\nACTION!=\"remove\", SUBSYSTEM==\"input\", KERNEL==\"event*\", "
           "ATTRS{idVendor}==\"" +
           vendor + "\", ATTRS{idProduct}==\"" + product + "\", TAG+=\"uaccess\"";
}

} // namespace companion
