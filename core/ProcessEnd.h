#pragma once

#include <functional>

namespace companion {

// How the process ends before the main function returns: from anywhere, and without destructors, which would
// talk to a display server that may have gone.
class ProcessEnd {
public:
    // Replaces what is to be done before. It may wait, but not for long. Main thread only.
    static void setFarewell(std::function<void()> farewell);

    // The farewell, what the log has not told yet, and the end. Any thread.
    [[noreturn]] static void with(int status);
};

} // namespace companion
