#pragma once

#include "app/CommandLine.h"

#include <optional>
#include <string>

namespace companion {

// Chooses what the overlay is drawn on, and tells the toolkit, whose windows need not be there: the command
// line's wish; else Wayland where the compositor lets a program draw above all windows; else X11, which a
// Wayland session has, too. Nothing, with the reason in `error`, where that display cannot be used: Qt would
// abort the process. Waits for the server's answer; a silent one ends the process with a line.
std::optional<DisplayServer> chooseDisplay(const CommandLine &line, std::string &error);

} // namespace companion
