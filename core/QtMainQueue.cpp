#include "core/QtMainQueue.h"

#include <QCoreApplication>
#include <QEvent>

#include <algorithm>

namespace companion {

QtMainQueue::QtMainQueue() {
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer); // Coarse timers may be 5 % late.
    m_timer.callOnTimeout(this, [this] { runDue(); });
}

void QtMainQueue::post(std::chrono::milliseconds delay, Task task) {
    const auto due = Clock::now() + std::max(delay, std::chrono::milliseconds::zero());
    const auto position = m_tasks.emplace(Key{due, m_posted++}, std::move(task)).first;
    if (delay <= std::chrono::milliseconds::zero())
        wakeSoon();
    else if (position == m_tasks.begin())
        wakeForNext();
}

bool QtMainQueue::event(QEvent *event) {
    if (event->type() != QEvent::User)
        return QObject::event(event);
    m_wakePosted = false;
    runDue();
    return true;
}

void QtMainQueue::runDue() {
    // Tasks posted meanwhile belong to a later turn, so a task that re-posts itself cannot starve the loop.
    const Key end{Clock::now(), m_posted};
    while (!m_tasks.empty() && m_tasks.begin()->first < end) {
        auto due = m_tasks.extract(m_tasks.begin());
        due.mapped()();
    }
    wakeForNext();
}

void QtMainQueue::wakeForNext() {
    if (m_tasks.empty()) {
        m_timer.stop();
        return;
    }
    const auto wait = m_tasks.begin()->first.first - Clock::now();
    if (wait <= Clock::duration::zero())
        wakeSoon();
    else
        m_timer.start(std::chrono::ceil<std::chrono::milliseconds>(wait));
}

// A posted event, not a zero timer: the GLib dispatcher runs zero timers only when idle.
void QtMainQueue::wakeSoon() {
    if (m_wakePosted)
        return;
    m_wakePosted = true;
    QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

} // namespace companion
