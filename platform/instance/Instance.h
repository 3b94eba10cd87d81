#pragma once

#include "platform/instance/InstanceLock.h"
#include "platform/instance/RuntimeFolder.h"

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

namespace companion {

// What a start is among the programs that the user runs already.
struct InstanceClaim {
    enum class Outcome {
        First,  // `lock` is ours.
        Handed, // Another one runs and has taken the command; `report` is what came of it.
        Stuck,  // Another one runs, but does not answer: `text` says so.
        Alone,  // It cannot be known or said, because of `text`: run on without a lock.
    };
    Outcome outcome = Outcome::Alone;
    std::unique_ptr<InstanceLock> lock{};
    std::string text{};
    std::string report{}; // One word; empty: it did not say.
};

// Tries to be the first, and hands `command` to whoever is. Another one that has only just started, or is
// about to end, is waited for, up to `patience`; one that has taken the command, as long again.
InstanceClaim claimInstance(const RuntimePlaces &places, std::string_view command,
                            std::chrono::milliseconds patience);

struct InstanceEnd {
    enum class Outcome {
        Ended,
        NoneRan,
        Stuck,   // It does not answer: `text` says so.
        Unknown, // Nothing can be asked, because of `text`: one that is alone may run.
    };
    Outcome outcome;
    std::string text{};
};

// Has the running program end, and waits until it has. One that is too busy to answer is sent a signal.
InstanceEnd endInstance(const RuntimePlaces &places, std::chrono::milliseconds patience);

} // namespace companion
