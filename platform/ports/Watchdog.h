#pragma once

#include <functional>

namespace companion {

// Looks after the screen while the effect is on: when the main thread is stuck for half a second, as a
// receiver that keeps silent can make it, the mouse is free, the cursor is seen and the overlay is out of
// sight until the main thread is back.
class Watchdog {
public:
    virtual ~Watchdog() = default;

    // Costs nothing while off.
    virtual void setOn(bool on) = 0;

    // Called when the main thread is back, right before the overlay comes into sight again. What the queue
    // held for the time meanwhile has run by then.
    virtual void onRecovered(std::function<void()> listener) = 0;
};

} // namespace companion
