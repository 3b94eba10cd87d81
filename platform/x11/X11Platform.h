#pragma once

#include "core/MainQueue.h"
#include "platform/ports/Platform.h"
#include "platform/ports/ScreenChoice.h"

#include <functional>
#include <memory>
#include <string>

namespace companion {

class DesktopMouse;
class DesktopPictures;
class SlideKeys;

struct X11Needs {
    MainQueue &queue;
    // Device pixels in one point of the screen with that name; asked when screens change.
    std::function<double(const std::string &screen)> scale;
    ScreenChoice screen = {};
    std::string displayName = {}; // Empty: the DISPLAY of the environment.
    // What an Xwayland server does not give, from elsewhere; each may be null, and is used there only. They
    // must outlive the platform.
    SlideKeys *slideKeys = nullptr;
    DesktopPictures *pictures = nullptr;
    DesktopMouse *mouse = nullptr;
};

// The backend for X11. Null, with the reason in `error`, when the server cannot be reached or lacks what the
// overlay stands on. Needs a running QCoreApplication.
std::unique_ptr<Platform> makeX11Platform(const X11Needs &needs, std::string &error);

// Whether the X server of the environment's DISPLAY lets us in; `error` says why not. Needs no application
// object: Qt aborts the process where there is no display, so this is asked first.
bool x11ServerAnswers(std::string &error);

// Whether that server has all that the overlay stands on; `error` says what it lacks.
bool x11ServerSuffices(std::string &error);

} // namespace companion
