#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"

#include <QObject>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace companion {

// Notices, from a thread of its own, that the main thread does not turn.
//
//   main turns   | | | | |                            | | |
//   rescue                     ^ `limit` after the last turn
//   recovered                                         ^ on the main thread, when it is back
//
// While it is off, its thread sleeps without a time-out and no heart beats. Main thread only.
class MainThreadWatch {
public:
    struct Steps {
        std::function<void()> prepare;   // On the watch's thread, before its first watch.
        std::function<void()> rescue;    // On the watch's thread.
        std::function<void()> recovered; // On the main thread, once for each rescue.
        // On the watch's thread, again and again from early on until the main thread is back; may be none.
        std::function<void()> late = {};
    };

    // Makes the thread. Where there can be none, a log line says so, and nothing is watched.
    MainThreadWatch(MainQueue &queue, std::chrono::milliseconds limit, Steps steps);
    ~MainThreadWatch();
    MainThreadWatch(const MainThreadWatch &) = delete;
    MainThreadWatch &operator=(const MainThreadWatch &) = delete;

    void setOn(bool on);

private:
    using Clock = std::chrono::steady_clock;

    void beat();
    void watch();
    void lookAfterLate(std::unique_lock<std::mutex> &lock, Clock::time_point until);

    MainQueue &m_queue;
    const std::chrono::milliseconds m_limit;
    const Steps m_steps;
    bool m_beating = false;

    std::mutex m_mutex; // Never held over a step. Guards what follows:
    std::condition_variable m_changed;
    bool m_on = false;
    bool m_ending = false;
    bool m_rescued = false; // And the main thread has not turned since.
    Clock::time_point m_lastTurn;

    QObject m_mainThread; // Where the recovery runs.
    std::thread m_thread;
    Lifetime m_life;
};

} // namespace companion
