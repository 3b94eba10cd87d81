#pragma once

#include <QRect>

#include <string>
#include <vector>

namespace companion {

// What the X server of the environment's DISPLAY says of the desktop on it. For a look from outside: over a
// connection of its own, and empty where the server cannot be reached.
struct X11Desktop {
    struct Screen {
        std::string name; // As the server calls it, and as --screen wants it.
        QRect area;       // Device pixels from the desktop's top left.
        bool main = false;
    };

    std::string windowManager; // Its name for itself; empty: none runs, or it does not say.
    bool compositor = false;   // The desktop can be seen through windows.
    std::string compositorName;
    bool xembedTray = false;
    std::vector<Screen> screens;
};

X11Desktop x11Desktop();

} // namespace companion
