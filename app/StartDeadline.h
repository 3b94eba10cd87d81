#pragma once

#include <chrono>
#include <string>

namespace companion {

// Ends the process with status 1 and one line on standard error unless it is destroyed in time: around a
// library's call that may block for ever. One at a time; uses SIGALRM.
class StartDeadline {
public:
    StartDeadline(std::chrono::seconds patience, const std::string &complaint);
    ~StartDeadline();
    StartDeadline(const StartDeadline &) = delete;
    StartDeadline &operator=(const StartDeadline &) = delete;
};

} // namespace companion
