#pragma once

#include <chrono>
#include <functional>

namespace companion {

using Task = std::function<void()>;

// The main thread's queue of fixed-delay tasks. Time is a dependency: everything delayed goes through here,
// and tests replace it by a queue that moves only when told.
//
// Tasks due together run in posting order, never inside post(), and cannot be taken back.
class MainQueue {
public:
    virtual ~MainQueue() = default;

    // Main thread only. A delay of 0 means a later turn of the loop; negative delays count as 0.
    virtual void post(std::chrono::milliseconds delay, Task task) = 0;
};

} // namespace companion
