#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>

namespace companion {

// Carries text to a terminal that may stop its writers, on a thread of its own, through a pipe that never
// does. For terminals that cannot be opened anew, such as another user's.
class TerminalRelay {
public:
    // Null where there can be no thread. The descriptor must stay open for the life of the process.
    static std::unique_ptr<TerminalRelay> make(int terminal);

    ~TerminalRelay(); // The thread ends when it has carried what it can; nobody waits for it.
    TerminalRelay(const TerminalRelay &) = delete;
    TerminalRelay &operator=(const TerminalRelay &) = delete;

    // To write to; does not block.
    int descriptor() const { return m_descriptor; }

    // Whether all that was written had reached the terminal by then.
    bool flush(std::uint64_t written, std::chrono::steady_clock::time_point deadline) const;

private:
    using Carried = std::atomic<std::uint64_t>;

    TerminalRelay(int descriptor, std::shared_ptr<Carried> carried);

    const int m_descriptor;
    const std::shared_ptr<Carried> m_carried; // Bytes, or given up.
};

} // namespace companion
