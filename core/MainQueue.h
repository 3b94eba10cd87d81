#pragma once

#include "core/Task.h"

#include <chrono>

namespace companion {

// The main thread's queue of fixed-delay tasks. Time is a dependency: everything delayed goes through here,
// and tests replace it by a queue that moves only when told.
//
// Tasks due together run in posting order, never inside post(), and cannot be taken back.
class MainQueue {
public:
    virtual ~MainQueue() = default;

    // Main thread only. A delay of 0 means a later turn of the loop; negative delays count as 0.
    virtual void post(std::chrono::milliseconds delay, Task task) = 0;

    // Opened by a backend around a lot of events that the event loop hands it. What is due when it closes,
    // and what that posts in turn, runs then and not after further turns of the loop: a pointer event is on
    // the screen without the loop going to sleep and waking up in between.
    class Turn {
    public:
        explicit Turn(MainQueue &queue) : m_queue(queue) { m_queue.beginTurn(); }
        ~Turn() { m_queue.endTurn(); }
        Turn(const Turn &) = delete;
        Turn &operator=(const Turn &) = delete;

    private:
        MainQueue &m_queue;
    };

protected:
    virtual void beginTurn() {}
    virtual void endTurn() {}
};

} // namespace companion
