#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "platform/ports/HidPort.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace companion {

class NotificationCenter;

// The link to the presenter's receiver: opens it, polls it for keys, tells the program whether it is there,
// reopens it when it went away, and sends the timer.
//
//   receiver   absent      present                 pulled      absent
//   passes     |    |    | | | | | | | | | | | | | ▏   |    |    |    |
//   every      500 ms      100 ms                  500 ms      500 ms
//   posts                  connect at each pass        ^disconnect, after that pass's reopen and poll
//
// Exactly one pass is pending at any time. Reading is synchronous: everything else on the main thread waits.
// Failures are silent; retrying is all there is. Main thread only, but for sharedInstance().
class HidManager {
public:
    struct Needs {
        MainQueue &queue;
        NotificationCenter &center;
        HidPort &hid;
        std::uint16_t vendorId;
        std::uint16_t productId;
    };

    explicit HidManager(const Needs &needs);

    // Closes the receiver and stops the cycle. Not to be called from an observer of the link's own posts.
    // Quitting the program ends the process without coming here.
    ~HidManager();

    HidManager(const HidManager &) = delete;
    HidManager &operator=(const HidManager &) = delete;

    static HidManager &sharedInstance();

    // Starts the cycle; the first attempt to open follows 500 ms later. Once per instance.
    void initManager();

    // One pass; schedules the next one.
    void recieveData();

    // Closes what is open, opens the first receiver that is there, and says whether there was one.
    bool reOpenHid();

    // Does nothing while the receiver is closed.
    void sendTimerWithTimeInt(std::int32_t minutes);

    // The text's integer value in base 2. Digits of negative numbers keep their sign behind them: "-3" gives
    // "1-1-".
    static std::string convertBinarySystemFromDecimalSystem(std::string_view text);

private:
    bool isOpen() const { return m_isOpened && m_handle != nullptr; }
    void scheduleRemovalPass();

    Needs m_needs;
    bool m_isOpened = false; // Whether the last attempt to open gave a handle.
    HidPort::Handle *m_handle = nullptr;
    Lifetime m_life; // Passes still in the queue watch it.
};

} // namespace companion
