#pragma once

#include "core/FileDescriptor.h"

#include <QObject>
#include <QSocketNotifier>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace companion {

// SIGTERM, SIGINT and SIGHUP as a call on the main thread. One instance in a process.
//
// A thread of its own takes the signals: the main thread may be waiting for a silent receiver, and whoever
// asks the program to end must not wait as well.
class SignalWatch {
public:
    // To be called before the first thread starts: threads inherit it, and a signal must not end one of them.
    static void blockSignals();

    // `late` is called on the watch's thread when the main thread has not come to `asked` for 0.6 s: by then
    // the overlay's watchdog has freed the screen.
    SignalWatch(std::function<void()> asked, std::function<void()> late);
    ~SignalWatch();
    SignalWatch(const SignalWatch &) = delete;
    SignalWatch &operator=(const SignalWatch &) = delete;

private:
    void watch();
    bool takeSignals();

    const std::function<void()> m_asked;
    const std::function<void()> m_late;
    FileDescriptor m_signals; // None when the system has none left: the signals then keep their usual effect.
    FileDescriptor m_end;     // Readable once the thread is to end.
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_heard = false;                        // By the main thread.
    QObject m_mainThread;                        // Where `asked` runs.
    std::unique_ptr<QSocketNotifier> m_notifier; // In place of a thread that could not be made.
    std::thread m_thread;
};

} // namespace companion
