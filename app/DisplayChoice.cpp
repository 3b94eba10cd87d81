#include "app/DisplayChoice.h"

#include "app/StartDeadline.h"
#include "platform/wayland/WaylandPlatform.h"
#include "platform/x11/X11Platform.h"

#include <QByteArray>

namespace companion {
namespace {

constexpr auto kPatienceWithServer = std::chrono::seconds(4);
constexpr const char *kToolkitsPlatform = "QT_QPA_PLATFORM";

bool waylandAnswers(std::string &error) {
    const StartDeadline deadline(
        kPatienceWithServer, "the Wayland compositor takes connections but does not answer; end it, or try "
                             "again");
    return waylandSuffices(error);
}

bool x11Answers(std::string &error) {
    const StartDeadline deadline(kPatienceWithServer,
                                 "the X server " + qgetenv("DISPLAY").toStdString() +
                                     " takes connections but does not answer; end it, or try again");
    return x11ServerAnswers(error);
}

} // namespace

std::optional<DisplayServer> chooseDisplay(const CommandLine &line, std::string &error) {
    const QByteArray asked = qgetenv(kToolkitsPlatform);
    const bool hasNone = asked == "offscreen" || asked == "minimal"; // For machines without a display.
    if (!line.platform && hasNone)
        return DisplayServer::None;
    const bool wantsWayland = line.platform == DisplayServer::Wayland;
    const bool mayBeWayland = !line.platform && !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    if ((wantsWayland || mayBeWayland) && waylandAnswers(error)) {
        if (!hasNone) // Without the toolkit's Wayland part its windows go through XWayland, or are left out.
            qputenv(kToolkitsPlatform, "wayland;xcb;offscreen");
        return DisplayServer::Wayland;
    }
    if (wantsWayland)
        return std::nullopt;
    qputenv(kToolkitsPlatform, "xcb");
    return x11Answers(error) ? std::optional(DisplayServer::X11) : std::nullopt;
}

} // namespace companion
