#pragma once

#include <QRect>

#include <string>
#include <vector>

namespace companion {

// What a Wayland session offers the program, for --doctor.
struct WaylandDesktop {
    struct Screen {
        std::string name;
        QRect area; // Its place on the desktop in points, and its device pixels.
        double scale;
        bool main; // The effects are there, unless the user says otherwise.
    };
    std::string lack; // Why the overlay cannot be drawn natively; empty: it can. The rest is only known then.
    std::vector<Screen> screens;
    std::string click; // What clicks and pictures are made with; empty: nothing of the compositor's.
    std::string still;
};

// Waits for the compositor's answers.
WaylandDesktop waylandDesktop();

} // namespace companion
