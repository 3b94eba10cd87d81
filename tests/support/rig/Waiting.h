#pragma once

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>

namespace companion::rig {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

// Long enough for a busy two-core machine; a wait that ends well takes a few milliseconds.
inline constexpr milliseconds kPatience = 15s;

// Ends the test; the text says what was waited for, and for how long.
struct WaitTimeout : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Returns how long it took. Asks at once, then every few milliseconds, and one last time at the limit.
milliseconds waitUntil(const std::string &what, const std::function<bool()> &condition,
                       milliseconds limit = kPatience);

// Only for showing that nothing happens.
void letTimePass(milliseconds time);

} // namespace companion::rig
