#pragma once

#include "core/MainQueue.h"

#include <QObject>
#include <QTimer>

#include <cstdint>
#include <map>
#include <utility>

namespace companion {

// MainQueue on the Qt event loop of the thread that makes it. Wakes the process only when a task is due.
class QtMainQueue final : public QObject, public MainQueue {
public:
    QtMainQueue();

    void post(std::chrono::milliseconds delay, Task task) override;

protected:
    bool event(QEvent *event) override;

private:
    using Clock = std::chrono::steady_clock;
    using Key = std::pair<Clock::time_point, std::uint64_t>; // Due time, then posting order.

    void runDue();
    void wakeForNext();
    void wakeSoon();

    std::map<Key, Task> m_tasks;
    std::uint64_t m_posted = 0;
    QTimer m_timer;
    bool m_wakePosted = false;
};

} // namespace companion
