#pragma once

#include "core/TerminalRelay.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

class QSocketNotifier;

namespace companion {

// Writes lines to a terminal, pipe, socket or file without ever waiting for whoever reads them: nobody's
// stalled terminal may stop the overlay.
//
// While the reader keeps up, each line is one write. Once it does not, lines wait in memory and go out, in
// order, when there is room again: the event loop sees to it, or the next line. When `room` bytes wait,
// further lines are dropped until all of those are out; one line then says how many. Any thread may write.
class LineWriter {
public:
    // The line that says how many were dropped, with its line feed.
    using Notice = std::string (*)(std::uint64_t dropped);

    LineWriter(int descriptor, std::size_t room, Notice notice);
    ~LineWriter();
    LineWriter(const LineWriter &) = delete;
    LineWriter &operator=(const LineWriter &) = delete;

    // `line` includes its line feed.
    void write(std::string_view line);

    // Before the process ends: waits for the reader, but not longer than this. True if nothing is left.
    bool flush(std::chrono::milliseconds patience);

private:
    std::string_view send(std::string_view text);
    void drain();
    void watch();

    const int m_terminal;                         // An open file of our own for it; -1 if there is none.
    const std::unique_ptr<TerminalRelay> m_relay; // To one that cannot be opened.
    const int m_descriptor;
    const std::size_t m_room;
    const Notice m_notice;
    std::mutex m_mutex;
    bool m_socket = true; // Until it says that it is none.
    std::string m_waiting;
    std::uint64_t m_dropped = 0;
    std::uint64_t m_sent = 0;                    // Bytes.
    std::unique_ptr<QSocketNotifier> m_notifier; // Of the main thread; made when first needed.
};

} // namespace companion
