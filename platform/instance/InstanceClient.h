#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace companion {

// What a running program answered on its socket.
struct InstanceAnswer {
    bool understood = false;
    std::string report{}; // What came of it, in one word; empty: it did not say.
    pid_t process = 0;    // That listens, though it may be too busy to answer; 0: nobody.
};

// Sends one command and waits for the answer until the deadline, and then as long as `patienceForReport` for
// what came of it. For a process that does nothing else: it blocks, and needs neither event loop nor display.
InstanceAnswer askInstance(const std::string &socketPath, std::string_view command,
                           std::chrono::steady_clock::time_point deadline,
                           std::chrono::milliseconds patienceForReport = std::chrono::milliseconds::zero());

} // namespace companion
