#pragma once

#include <functional>

namespace companion {

// The presenter's own slide keys, whichever program has the keyboard. Main thread only.
class SlideKeys {
public:
    virtual ~SlideKeys() = default;

    // Presses, no repeats; `keyCode` is one of the four virtual key codes of InputMonitor.h. One listener.
    virtual void onKeyDown(std::function<void(int keyCode)> listener) = 0;
};

} // namespace companion
