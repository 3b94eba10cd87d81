#pragma once

#include <string_view>

namespace companion {

class CursorVisibility;
class InputMonitor;
class OverlaySurface;
class OwnWindows;
class ScreenCapture;
class SyntheticMouse;
class TrayArea;
class Watchdog;

// One backend: everything the program needs of a display. What a backend cannot do is logged once when it is
// made and is a no-op afterwards. The parts live as long as the platform.
class Platform {
public:
    virtual ~Platform() = default;

    virtual std::string_view name() const = 0; // "x11", "null".

    // The toolkit, which knows the scale, may hear of a changed screen later than the backend.
    virtual void scaleMayHaveChanged() = 0;

    virtual OverlaySurface &surface() = 0;
    virtual InputMonitor &inputMonitor() = 0;
    virtual SyntheticMouse &syntheticMouse() = 0;
    virtual ScreenCapture &screenCapture() = 0;
    virtual CursorVisibility &cursor() = 0;
    virtual TrayArea &trayArea() = 0;
    virtual OwnWindows &ownWindows() = 0;
    virtual Watchdog &watchdog() = 0;
};

} // namespace companion
