#include "core/QtMainQueue.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEvent>

#include <algorithm>

namespace companion {
namespace {

// What events bring about, and the display pass that this brings about.
constexpr int kRounds = 2;

} // namespace

QtMainQueue::QtMainQueue() {
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer); // Coarse timers may be 5 % late.
    m_timer.callOnTimeout(this, [this] { runDue(); });
    // A loop inside a turn must not sleep on what the turn's end would have run.
    if (auto *dispatcher = QAbstractEventDispatcher::instance())
        connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, [this] {
            if (m_turns > 0)
                wakeForNext();
        });
}

bool QtMainQueue::later(const Entry &a, const Entry &b) {
    return a.due != b.due ? a.due > b.due : a.number > b.number;
}

void QtMainQueue::post(std::chrono::milliseconds delay, Task task) {
    const auto due = Clock::now() + std::max(delay, std::chrono::milliseconds::zero());
    const std::uint64_t number = m_posted++;
    m_tasks.push_back({due, number, std::move(task)});
    std::push_heap(m_tasks.begin(), m_tasks.end(), later);
    if (m_turns > 0)
        return;
    if (delay <= std::chrono::milliseconds::zero())
        wakeSoon();
    else if (m_tasks.front().number == number)
        wakeForNext();
}

bool QtMainQueue::event(QEvent *event) {
    if (event->type() != QEvent::User)
        return QObject::event(event);
    m_wakePosted = false;
    runDue();
    return true;
}

void QtMainQueue::endTurn() {
    if (--m_turns == 0)
        runDue();
}

bool QtMainQueue::isDue(Clock::time_point now, std::uint64_t numberBefore) const {
    return !m_tasks.empty() && m_tasks.front().due <= now && m_tasks.front().number < numberBefore;
}

void QtMainQueue::runDue() {
    ++m_turns; // What is posted meanwhile is seen to below.
    for (int round = 0; round < kRounds; ++round) {
        // Tasks posted meanwhile belong to a later round, and further rounds to a later turn of the loop, so
        // a task that re-posts itself cannot starve it.
        const auto now = Clock::now();
        const std::uint64_t numberBefore = m_posted;
        while (isDue(now, numberBefore)) {
            std::pop_heap(m_tasks.begin(), m_tasks.end(), later);
            Task task = std::move(m_tasks.back().task);
            m_tasks.pop_back();
            task();
        }
    }
    --m_turns;
    wakeForNext();
}

void QtMainQueue::wakeForNext() {
    if (m_tasks.empty()) {
        if (m_timer.isActive())
            m_timer.stop();
        return;
    }
    const auto due = m_tasks.front().due;
    const auto wait = due - Clock::now();
    if (wait <= Clock::duration::zero()) {
        wakeSoon();
    } else if (!m_timer.isActive() || m_timerDue != due) { // Starting a timer anew is not free.
        m_timerDue = due;
        m_timer.start(std::chrono::ceil<std::chrono::milliseconds>(wait));
    }
}

// A posted event, not a zero timer: the GLib dispatcher runs zero timers only when idle.
void QtMainQueue::wakeSoon() {
    if (m_wakePosted)
        return;
    m_wakePosted = true;
    QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

} // namespace companion
