#pragma once

#include "core/MainQueue.h"
#include "platform/ports/Platform.h"
#include "platform/ports/ScreenChoice.h"

#include <memory>
#include <string>
#include <vector>

namespace companion {

class DesktopMouse;
class DesktopPictures;
class SlideKeys;

// What compositors do not give, from elsewhere; each may be null. They must outlive the platform.
struct WaylandNeeds {
    MainQueue &queue;
    ScreenChoice screen = {};
    SlideKeys *slideKeys = nullptr;
    DesktopPictures *pictures = nullptr;
    DesktopMouse *mouse = nullptr;
};

// The backend for compositors that let a program draw above all windows. Null, with the reason in `error`,
// when the compositor of the environment's WAYLAND_DISPLAY cannot be reached or lacks what the overlay stands
// on. Needs a running QCoreApplication.
std::unique_ptr<Platform> makeWaylandPlatform(const WaylandNeeds &needs, std::string &error);

// Whether it would do; `error` says what it lacks. Waits for the compositor's answer; needs no application
// object.
bool waylandSuffices(std::string &error);

// One line and the end of the process with status 1, whoever notices first that the compositor has gone: this
// backend or the toolkit, on a thread of its own. Any thread.
[[noreturn]] void endWithoutCompositor();

} // namespace companion
