#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace companion {

// Sends `request` over a connected socket that never blocks, and returns what comes back until it holds a
// newline, is longer than any answer, or the deadline or the connection ends. For a process that does nothing
// else: it blocks, and needs neither event loop nor display.
std::string askLine(int socket, std::string_view request, std::chrono::steady_clock::time_point deadline);

// The same without a request: what comes next.
std::string awaitLine(int socket, std::chrono::steady_clock::time_point deadline);

} // namespace companion
