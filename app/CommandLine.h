#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace companion {

// What one run was asked for.
struct CommandLine {
    enum class Action { Run, Doctor, Help, Version };

    Action action = Action::Run;
    bool demo = false;
    bool virtualReceiver = false;
    std::string virtualReceiverPath; // Empty: plugged in and silent.
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
};

// Null when the arguments (without the program's name) make no sense; `error` then names the offender.
std::optional<CommandLine> parseCommandLine(std::span<const char *const> arguments, std::string &error);

std::string helpText();

} // namespace companion
