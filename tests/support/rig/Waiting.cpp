#include "support/rig/Waiting.h"

#include <thread>

namespace companion::rig {

milliseconds waitUntil(const std::string &what, const std::function<bool()> &condition, milliseconds limit) {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    for (;;) {
        const auto waited = std::chrono::duration_cast<milliseconds>(Clock::now() - start);
        if (condition())
            return waited;
        if (waited >= limit)
            throw WaitTimeout("waited " + std::to_string(waited.count()) + " ms in vain for " + what);
        std::this_thread::sleep_for(2ms);
    }
}

void letTimePass(milliseconds time) {
    std::this_thread::sleep_for(time);
}

} // namespace companion::rig
