#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace companion {

// What a running program answered on its socket.
struct InstanceAnswer {
    bool understood = false;
    pid_t process = 0; // That listens, though it may be too busy to answer; 0: nobody.
};

// Sends one command and waits for the answer until the deadline. For a process that does nothing else: it
// blocks, and needs neither event loop nor display.
InstanceAnswer askInstance(const std::string &socketPath, std::string_view command,
                           std::chrono::steady_clock::time_point deadline);

} // namespace companion
