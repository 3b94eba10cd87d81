#pragma once

#include "core/MainQueue.h"

#include <algorithm>
#include <map>

namespace companion {

// The virtual-time twin of QtMainQueue: it moves only when told.
class VirtualMainQueue final : public MainQueue {
public:
    void post(std::chrono::milliseconds delay, Task task) override {
        m_tasks.emplace(m_now + std::max(delay, std::chrono::milliseconds::zero()), std::move(task));
    }

    // Runs what falls due up to and including the end, in order of due time, then of posting.
    void advance(std::chrono::milliseconds by) {
        const auto end = m_now + by;
        while (!m_tasks.empty() && m_tasks.begin()->first <= end) {
            auto due = m_tasks.extract(m_tasks.begin());
            m_now = std::max(m_now, due.key());
            due.mapped()();
        }
        m_now = end;
    }

    // As when a task takes that long: what falls due meanwhile waits.
    void block(std::chrono::milliseconds time) { m_now += time; }

    std::chrono::milliseconds now() const { return m_now; }
    std::size_t pending() const { return m_tasks.size(); }

private:
    std::chrono::milliseconds m_now{0};
    std::multimap<std::chrono::milliseconds, Task> m_tasks; // Equal keys keep their order.
};

} // namespace companion
