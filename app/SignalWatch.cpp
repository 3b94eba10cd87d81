#include "app/SignalWatch.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>

namespace companion {
namespace {

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

SignalWatch::SignalWatch(std::function<void()> asked) {
    const sigset_t signals = endingSignals();
    m_signals = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (m_signals < 0) {
        pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
        return;
    }
    m_notifier = std::make_unique<QSocketNotifier>(m_signals, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [this, asked = std::move(asked)] {
                         signalfd_siginfo info{};
                         while (read(m_signals, &info, sizeof info) > 0) {
                         }
                         asked();
                     });
}

SignalWatch::~SignalWatch() {
    m_notifier.reset();
    if (m_signals >= 0)
        close(m_signals);
}

} // namespace companion
