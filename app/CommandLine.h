#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace companion {

enum class DisplayServer { X11, Wayland, None };

// What one run was asked for.
struct CommandLine {
    enum class Action { Run, Quit, AutostartOn, AutostartOff, AllowClicks, Doctor, Help, Version };

    Action action = Action::Run;
    bool settings = false; // With the settings window, here or in the instance that runs already.
    bool demo = false;
    std::optional<std::string> screen;     // Which one the overlay is on, whatever the settings say.
    std::optional<DisplayServer> platform; // Which one the overlay is drawn on, whatever there is.
    std::optional<bool> centreClick;       // Whether the screen's centre is clicked, likewise.
    bool virtualReceiver = false;
    std::string virtualReceiverPath; // Empty: plugged in and silent.
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
};

// Null when the arguments (without the program's name) make no sense; `error` then names the offender.
std::optional<CommandLine> parseCommandLine(std::span<const char *const> arguments, std::string &error);

std::string helpText();

} // namespace companion
