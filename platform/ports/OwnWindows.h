#pragma once

#include <cstdint>
#include <string>

namespace companion {

// What becomes of the program's ordinary windows, which are the toolkit's, among those of others. Window
// identifiers are the window system's own; 0 is none.
class OwnWindows {
public:
    using Window = std::uintptr_t;

    enum class Sight {
        Seen,
        Covered, // By other windows, for the greater part.
        Absent,  // Not on the screen: minimised, on another desktop, or not shown by the window manager.
        Unknown, // The window system does not tell.
    };

    virtual ~OwnWindows() = default;

    // For a window that is about to be shown: it is what the user started with this id (see StartupId.h; it
    // may be empty).
    virtual void announce(Window window, const std::string &startupId) = 0;

    // Tells the desktop that the start with this id is over, if that is one.
    virtual void startupEnded(const std::string &startupId) = 0;

    // The full-screen window that a window has to belong to before it is shown, as its dialog, to be above
    // it; 0 where window managers keep windows on top without that, or nothing is full-screen.
    virtual Window owner() const = 0;

    // Asks the window manager to put a shown window in front of all others and to give it the keyboard: now
    // that the user wishes so, or with the right of this start.
    virtual void activate(Window window, const std::string &startupId) = 0;

    virtual Sight look(Window window) const = 0;
};

} // namespace companion
