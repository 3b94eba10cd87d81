#pragma once

#include <string>
#include <vector>

namespace companion {

// Where desktops look for what to start at login.
struct AutostartPlaces {
    std::string own;                 // The user's configuration folder.
    std::vector<std::string> common; // The machine's.

    static AutostartPlaces ofThisUser();
};

struct AutostartResult {
    bool done;
    std::string text; // What was done, or why it was not.
};

// Writes the user's own autostart entry for the program at this absolute path, at once or not at all.
AutostartResult enableAutostart(const AutostartPlaces &places, const std::string &program);

// Removes it. Where the machine has one for all users, the user's own copy hides it instead.
AutostartResult disableAutostart(const AutostartPlaces &places);

// Path of the running program; empty when it cannot be told, as after an update that replaced its file.
std::string runningProgram();

} // namespace companion
