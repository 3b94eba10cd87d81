#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace companion {

// SIGTERM, SIGINT and SIGHUP as a call on the main thread. One instance in a process.
class SignalWatch {
public:
    // To be called before the first thread starts: threads inherit it, and a signal must not end one of them.
    static void blockSignals();

    explicit SignalWatch(std::function<void()> asked);
    ~SignalWatch();
    SignalWatch(const SignalWatch &) = delete;
    SignalWatch &operator=(const SignalWatch &) = delete;

private:
    int m_signals; // signalfd; -1 when the system has none left: the signals then keep their usual effect.
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace companion
