#pragma once

#include "app/CommandLine.h"
#include "platform/evdev/EventNodes.h"
#include "platform/hidapi/ReceiverNodes.h"
#include "receiver/ReceiverIdentity.h"

#include <optional>
#include <string>
#include <vector>

namespace companion {

// What the program needs of the machine, as it is. Gathered in one place, judged in another, so that every
// state of a machine can be judged in a test.
struct DoctorFacts {
    std::string version;
    std::string qtVersion;
    ReceiverIdentity receiver;
    std::vector<ReceiverNode> nodes;
    std::vector<EventNode> eventNodes = {};
    std::string ruleFile; // That names the receiver; empty: none.

    std::string sessionType;      // "x11", "wayland", "tty"; empty: unknown.
    bool drawsOnWayland = false;  // And needs no X server then.
    std::string waylandLack = {}; // Why not, in a Wayland session.
    // What these are made with in a Wayland session; empty: nothing.
    std::string waylandClick = {}, waylandStill = {};
    std::string display;
    std::string serverError;   // Empty: the X server lets us in. What follows is only known then.
    std::string serverLack;    // Empty: the X server has all that the overlay stands on.
    std::string windowManager; // Its name for itself; empty: none, or it does not say.
    bool compositor = false;
    std::string compositorName; // The window manager's own if it is the same; may be empty.
    bool xembedTray = false;
    bool statusNotifierTray = false;
    std::vector<std::string> screens;

    std::string settingsFile;
    bool settingsWritable = false;

    bool goesThroughXwayland() const { return sessionType == "wayland" && !drawsOnWayland; }
};

struct DoctorFinding {
    enum class Kind {
        Fine,
        Flaw,  // Something is missing, but the effects work.
        Fatal, // Holding the effect key shows nothing.
    };
    Kind kind;
    std::string subject;
    std::string text;
    std::string remedy; // Of anything that is not fine.
};

// Works without a display. `receiver` is what the command line asks for, `display` what would be drawn on.
DoctorFacts gatherDoctorFacts(const ReceiverIdentity &receiver, std::optional<DisplayServer> display);

std::vector<DoctorFinding> examine(const DoctorFacts &facts);

// One screen of plain text.
std::string doctorReport(const std::vector<DoctorFinding> &findings);

// 0 when the effects can work, else 1.
int doctorStatus(const std::vector<DoctorFinding> &findings);

// The lines that let the user at the seat open the receiver and read its keys.
std::string udevRuleFor(const ReceiverIdentity &receiver);

} // namespace companion
