#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <span>
#include <vector>

namespace companion {

// A receiver without hardware: the device itself, at the level of its 64-byte feature report. VirtualHidPort
// is the way to it for the receiver link; these methods are the hand that holds the presenter, for
// demonstrations, tests and the command feed. Plugged in from the start, no key held. Main thread only.
class VirtualReceiver {
public:
    enum class Mode {
        Ok,
        Stall, // Reads and writes fail, but the device is still there.
        Short, // Answers end after byte 1.
    };
    struct Counts {
        std::uint64_t opens = 0;   // Successful ones.
        std::uint64_t refused = 0; // Attempts to open while unplugged or already open.
        std::uint64_t closes = 0;
        std::uint64_t reads = 0;  // Feature reports asked for, answered or not.
        std::uint64_t writes = 0; // Feature reports sent to it, taken or not.
    };
    using Bytes = std::vector<std::uint8_t>;
    using Block = std::function<void(std::chrono::milliseconds)>;

    static constexpr std::size_t kMaxEventBytes = 63; // All that fits behind the report ID.
    static constexpr std::size_t kMaxWaitingCodes = 4096;
    static constexpr std::size_t kKeptReports = 256;

    explicit VirtualReceiver(MainQueue &queue);

    // With a stand-in for blocking the thread, so that tests need not sleep; it may pull the device
    // meanwhile.
    VirtualReceiver(MainQueue &queue, Block block);

    // Bytes 1 and up of every answer from now on; the rest is zero. Bytes that do not fit are dropped.
    void setEvent(std::span<const std::uint8_t> bytes);

    // Codes for one answered read each, before the standing event. False, and none taken, when too many wait.
    bool once(std::span<const std::uint8_t> codes);

    // What is open stays dead after an unplug, even when the device is plugged in again before anybody looks.
    // Events survive.
    void plug();
    void unplug();

    // Unplugs now and plugs in again later; at once for 0. plug() and unplug() supersede what is pending.
    void replug(std::chrono::milliseconds after);

    void setMode(Mode mode) { m_mode = mode; }

    // How long each feature read blocks the thread, failing ones too.
    void setDelay(std::chrono::milliseconds delay) { m_delay = delay; }

    const Counts &counts() const { return m_counts; }
    std::uint64_t answeredReads() const { return m_answered; }
    const std::deque<Bytes> &written() const { return m_written; } // The last kKeptReports that it took.

    // Presses and lets go a slide key, a virtual key code of InputMonitor.h. Nothing while it is unplugged.
    void pressSlideKey(int keyCode);
    void onSlideKey(std::function<void(int keyCode)> listener) { m_slideKey = std::move(listener); }

    // Runs inside each answered read.
    void addAnswerObserver(const Lifetime &observer, std::function<void()> call);

private:
    friend class VirtualHidPort;

    // Which plugging-in this is; 0 while unplugged.
    std::uint64_t presence() const { return m_plugged ? m_plugging : 0; }
    int answer(std::span<std::uint8_t> report, std::uint64_t openedAt);
    int take(std::span<const std::uint8_t> report, std::uint64_t openedAt);

    struct Observer {
        std::weak_ptr<const void> alive;
        std::function<void()> call;
    };

    MainQueue &m_queue;
    Block m_block;
    Bytes m_event;
    std::deque<std::uint8_t> m_once;
    bool m_plugged = true;
    std::uint64_t m_plugging = 1;
    std::uint64_t m_plugChanges = 0; // A pending replug is void once this has moved on.
    Mode m_mode = Mode::Ok;
    std::chrono::milliseconds m_delay{0};
    Counts m_counts;
    std::uint64_t m_answered = 0;
    std::deque<Bytes> m_written;
    std::vector<Observer> m_observers;
    std::function<void(int)> m_slideKey;
    Lifetime m_life;
};

} // namespace companion
