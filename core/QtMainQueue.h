#pragma once

#include "core/MainQueue.h"

#include <QObject>
#include <QTimer>

#include <cstdint>
#include <vector>

namespace companion {

// MainQueue on the Qt event loop of the thread that makes it. Wakes the process only when a task is due, and
// allocates nothing for a task posted in a turn, once it has held as many before.
class QtMainQueue final : public QObject, public MainQueue {
public:
    QtMainQueue();

    void post(std::chrono::milliseconds delay, Task task) override;

protected:
    bool event(QEvent *event) override;
    void beginTurn() override { ++m_turns; }
    void endTurn() override;

private:
    using Clock = std::chrono::steady_clock;

    struct Entry {
        Clock::time_point due;
        std::uint64_t number; // In posting order.
        Task task;
    };
    static bool later(const Entry &a, const Entry &b);

    bool isDue(Clock::time_point now, std::uint64_t numberBefore) const;
    void runDue();
    void wakeForNext();
    void wakeSoon();

    std::vector<Entry> m_tasks; // A heap: the next one is in front.
    std::uint64_t m_posted = 0;
    QTimer m_timer;
    Clock::time_point m_timerDue; // While the timer is active.
    bool m_wakePosted = false;
    int m_turns = 0; // Open ones: their end sees to what is due.
};

} // namespace companion
