#include "platform/instance/Instance.h"

#include "platform/instance/InstanceClient.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <thread>

namespace companion {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kBetweenTries = 10ms;
constexpr auto kPoliteness = 250ms; // Before a signal.

// The other one may be between its lock and its socket, or in its last moments.
bool pauseBefore(Clock::time_point deadline) {
    const auto now = Clock::now();
    if (now >= deadline)
        return false;
    std::this_thread::sleep_for(std::min<Clock::duration>(kBetweenTries, deadline - now));
    return true;
}

std::string stuck(pid_t process) {
    const std::string which = process > 0 ? " (process " + std::to_string(process) + ")" : "";
    return "it runs already" + which + " but does not answer; end that process and try again";
}

InstanceEnd unknown(const std::string &error) {
    return {InstanceEnd::Outcome::Unknown, "cannot tell whether it runs: " + error};
}

} // namespace

InstanceClaim claimInstance(const RuntimePlaces &places, std::string_view command,
                            std::chrono::milliseconds patience) {
    using Outcome = InstanceClaim::Outcome;
    const auto deadline = Clock::now() + patience;
    const std::string folder = runtimeFolder(places);
    std::string error;
    if (!makeRuntimeFolder(folder, error))
        return {Outcome::Alone, nullptr, error};
    pid_t process = 0;
    do {
        InstanceLock::Result result = InstanceLock::take(folder);
        if (result.outcome == InstanceLock::Outcome::Held)
            return {Outcome::First, std::move(result.lock)};
        if (result.outcome == InstanceLock::Outcome::Failed)
            return {Outcome::Alone, nullptr, result.error};
        const InstanceAnswer answer =
            askInstance(InstanceLock::socketPath(folder), command, deadline, patience);
        if (answer.understood)
            return {Outcome::Handed, nullptr, {}, answer.report};
        process = answer.process;
    } while (pauseBefore(deadline));
    return {Outcome::Stuck, nullptr, stuck(process)};
}

InstanceEnd endInstance(const RuntimePlaces &places, std::chrono::milliseconds patience) {
    using Outcome = InstanceEnd::Outcome;
    const auto deadline = Clock::now() + patience;
    const std::string folder = runtimeFolder(places);
    std::error_code none;
    std::string error;
    if (!std::filesystem::exists(std::filesystem::symlink_status(folder, none)))
        return mayMakeIn(std::filesystem::path(folder).parent_path().string(), error)
                   ? InstanceEnd{Outcome::NoneRan}
                   : unknown(error);
    if (!makeRuntimeFolder(folder, error)) // There it is: this only looks at whose it is.
        return unknown(error);
    const InstanceLock::State state = InstanceLock::look(folder, error);
    if (state != InstanceLock::State::Taken)
        return state == InstanceLock::State::Free ? InstanceEnd{Outcome::NoneRan} : unknown(error);
    const auto politeUntil = std::min(deadline, Clock::now() + kPoliteness);
    InstanceAnswer answer;
    bool signalled = false;
    do {
        if (!answer.understood && !signalled)
            answer = askInstance(InstanceLock::socketPath(folder), "quit", politeUntil);
        if (!signalled && answer.process > 0 && Clock::now() >= politeUntil)
            signalled = ::kill(answer.process, SIGTERM) == 0;
        if (InstanceLock::look(folder, error) == InstanceLock::State::Free)
            return {Outcome::Ended};
    } while (pauseBefore(deadline));
    return {Outcome::Stuck, stuck(answer.process)};
}

} // namespace companion
