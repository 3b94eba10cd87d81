#include "app/SignalWatch.h"

#include "core/Log.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <system_error>
#include <utility>

namespace companion {
namespace {

constexpr auto kPatienceWithMainThread = std::chrono::milliseconds(600);

// The end of a terminal or session is one, unless the program was started to outlive it.
sigset_t endingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    struct sigaction hangUp {};
    if (sigaction(SIGHUP, nullptr, &hangUp) == 0 && hangUp.sa_handler != SIG_IGN)
        sigaddset(&signals, SIGHUP);
    return signals;
}

} // namespace

void SignalWatch::blockSignals() {
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

SignalWatch::SignalWatch(std::function<void()> asked, std::function<void()> late)
    : m_asked(std::move(asked)),
      m_late(std::move(late)) {
    const sigset_t signals = endingSignals();
    m_signals = FileDescriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    m_end = FileDescriptor(eventfd(0, EFD_CLOEXEC));
    if (!m_signals || !m_end) {
        pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
        return;
    }
    try {
        m_thread = std::thread([this] { watch(); });
    } catch (const std::system_error &) {
        Log::line("no thread to wait for signals; a receiver that keeps silent will hold up the end");
        m_notifier = std::make_unique<QSocketNotifier>(m_signals.get(), QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] {
            if (takeSignals())
                m_asked();
        });
    }
}

SignalWatch::~SignalWatch() {
    if (!m_thread.joinable())
        return;
    eventfd_write(m_end.get(), 1);
    m_thread.join();
}

bool SignalWatch::takeSignals() {
    signalfd_siginfo info{};
    bool some = false;
    while (read(m_signals.get(), &info, sizeof info) > 0)
        some = true;
    return some;
}

void SignalWatch::watch() {
    pthread_setname_np(pthread_self(), "signals");
    while (true) {
        pollfd polls[] = {{m_signals.get(), POLLIN, 0}, {m_end.get(), POLLIN, 0}};
        if (::poll(polls, 2, -1) < 0 && errno != EINTR)
            return;
        if (polls[1].revents != 0)
            return;
        if (!takeSignals())
            continue;
        const auto hear = [this] {
            {
                const std::lock_guard lock(m_mutex);
                m_heard = true;
            }
            m_changed.notify_one();
            m_asked();
        };
        QMetaObject::invokeMethod(&m_mainThread, hear, Qt::QueuedConnection);
        std::unique_lock lock(m_mutex);
        if (m_changed.wait_for(lock, kPatienceWithMainThread, [this] { return m_heard; }))
            continue;
        lock.unlock();
        m_late();
    }
}

} // namespace companion
