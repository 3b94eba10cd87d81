#include "core/MainThreadWatch.h"

#include "core/Log.h"

#include <pthread.h>

#include <algorithm>
#include <string>
#include <system_error>
#include <utility>

namespace companion {
namespace {

using namespace std::chrono_literals;
constexpr auto kBeat = 100ms;
constexpr auto kLate = 150ms; // Since the last turn.
constexpr auto kStep = 30ms;  // From one look at a late main thread to the next.

} // namespace

MainThreadWatch::MainThreadWatch(MainQueue &queue, std::chrono::milliseconds limit, Steps steps)
    : m_queue(queue),
      m_limit(limit),
      m_steps(std::move(steps)) {
    try {
        m_thread = std::thread([this] { watch(); });
    } catch (const std::system_error &error) {
        Log::line(std::string("no watchdog, because of its thread: ") + error.what() +
                  "; if the program gets stuck, the effect stays on the screen meanwhile");
    }
}

MainThreadWatch::~MainThreadWatch() {
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_changed.notify_one();
    if (m_thread.joinable())
        m_thread.join();
}

void MainThreadWatch::setOn(bool on) {
    if (!m_thread.joinable())
        return;
    {
        const std::lock_guard lock(m_mutex);
        if (on == m_on)
            return;
        m_on = on;
        m_rescued = false;
        m_lastTurn = Clock::now();
    }
    m_changed.notify_one();
    if (!on)
        return;
    if (!std::exchange(m_beating, true))
        beat();
}

void MainThreadWatch::beat() {
    bool wasRescued = false;
    {
        const std::lock_guard lock(m_mutex);
        m_beating = m_on;
        m_lastTurn = Clock::now();
        wasRescued = std::exchange(m_rescued, false);
    }
    if (wasRescued)
        m_changed.notify_one();
    if (m_beating)
        m_queue.post(kBeat, m_life.guard([this] { beat(); }));
}

void MainThreadWatch::watch() {
    pthread_setname_np(pthread_self(), "watchdog");
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_ending || m_on; });
    // Not at once: the main thread and the display server are busy with the first picture now.
    if (m_changed.wait_for(lock, m_limit / 4, [this] { return m_ending; }))
        return;
    lock.unlock();
    m_steps.prepare();
    lock.lock();
    while (true) {
        m_changed.wait(lock, [this] { return m_ending || (m_on && (!m_rescued || m_steps.late)); });
        if (m_ending)
            return;
        if (m_rescued) {
            lookAfterLate(lock, Clock::now() + kStep);
            continue;
        }
        // Woken by a change only: the time of a beat is looked at when it matters.
        const auto seen = m_lastTurn;
        const auto isOver = [this] { return m_ending || !m_on; };
        if (m_changed.wait_until(lock, seen + (m_steps.late ? std::min(m_limit, kLate) : m_limit), isOver))
            continue;
        while (m_steps.late && m_lastTurn == seen && !isOver() && Clock::now() < seen + m_limit)
            lookAfterLate(lock, std::min(Clock::now() + kStep, seen + m_limit));
        if (m_lastTurn != seen || isOver())
            continue;
        m_rescued = true;
        lock.unlock();
        m_steps.rescue();
        QMetaObject::invokeMethod(&m_mainThread, m_steps.recovered, Qt::QueuedConnection);
        lock.lock();
    }
}

void MainThreadWatch::lookAfterLate(std::unique_lock<std::mutex> &lock, Clock::time_point until) {
    lock.unlock();
    m_steps.late();
    lock.lock();
    m_changed.wait_until(lock, until, [this] { return m_ending || !m_on; });
}

} // namespace companion
