#include "core/LineWriter.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QThread>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

namespace companion {
namespace {

// As write(), but for the waiting.
ssize_t writeIfReady(int descriptor, std::string_view text) {
    pollfd poll{descriptor, POLLOUT, 0};
    const int ready = ::poll(&poll, 1, 0);
    if (ready > 0 && (poll.revents & POLLERR) == 0)
        return ::write(descriptor, text.data(), text.size());
    // A pipe without a reader is not written to: that may end the process.
    if (ready >= 0)
        errno = ready == 0 ? EAGAIN : EPIPE;
    return -1;
}

// A terminal says that it is ready and makes the writer wait all the same, unless it was opened not to: -1
// for what is no terminal.
int openTerminalAnew(int descriptor) {
    if (!isatty(descriptor))
        return -1;
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    return ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

} // namespace

LineWriter::LineWriter(int descriptor, std::size_t room, Notice notice)
    : m_terminal(openTerminalAnew(descriptor)),
      m_relay(m_terminal < 0 && isatty(descriptor) ? TerminalRelay::make(descriptor) : nullptr),
      m_descriptor(m_relay ? m_relay->descriptor() : (m_terminal >= 0 ? m_terminal : descriptor)),
      m_room(room),
      m_notice(notice) {}

LineWriter::~LineWriter() {
    if (m_terminal >= 0)
        ::close(m_terminal);
}

void LineWriter::write(std::string_view line) {
    const std::lock_guard lock(m_mutex);
    drain();
    if (m_waiting.empty()) {
        m_waiting = send(line);
    } else if (m_dropped == 0 && m_waiting.size() + line.size() <= m_room) {
        m_waiting += line;
    } else {
        ++m_dropped;
    }
    watch();
}

bool LineWriter::flush(std::chrono::milliseconds patience) {
    using Clock = std::chrono::steady_clock;
    const std::lock_guard lock(m_mutex);
    const auto end = Clock::now() + patience;
    for (drain(); !m_waiting.empty() && Clock::now() < end; drain()) {
        pollfd poll{m_descriptor, POLLOUT, 0};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        ::poll(&poll, 1, std::max(0, static_cast<int>(left.count())));
    }
    return m_waiting.empty() && (!m_relay || m_relay->flush(m_sent, end));
}

// What could not be sent. Nothing if the reader is gone for good: there is nobody to keep it for.
std::string_view LineWriter::send(std::string_view text) {
    while (!text.empty()) {
        ssize_t sent = -1;
        if (m_socket) {
            sent = ::send(m_descriptor, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
            if (sent < 0 && errno == ENOTSOCK) {
                m_socket = false;
                continue;
            }
        } else {
            // The descriptor is shared with whoever started us, so it must stay as blocking as it is; but one
            // that is ready takes this much without blocking.
            sent = writeIfReady(m_descriptor, text.substr(0, PIPE_BUF));
        }
        if (sent > 0) {
            m_sent += static_cast<std::uint64_t>(sent);
            text.remove_prefix(static_cast<std::size_t>(sent));
        } else if (sent < 0 && errno == EAGAIN)
            return text;
        else if (sent == 0 || errno != EINTR)
            return {};
    }
    return text;
}

void LineWriter::drain() {
    if (m_waiting.empty())
        return;
    const std::string_view rest = send(m_waiting);
    m_waiting.erase(0, m_waiting.size() - rest.size());
    if (m_waiting.empty() && m_dropped > 0) {
        const std::string notice = m_notice(m_dropped);
        m_dropped = 0;
        m_waiting = send(notice);
    }
}

void LineWriter::watch() {
    const auto *application = QCoreApplication::instance();
    if (m_waiting.empty()) {
        if (m_notifier && QThread::currentThread() == m_notifier->thread())
            m_notifier->setEnabled(false);
        return;
    }
    if (application == nullptr || QThread::currentThread() != application->thread())
        return; // The next line of the main thread sees to it.
    if (!m_notifier) {
        m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Write);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] {
            const std::lock_guard lock(m_mutex);
            drain();
            watch();
        });
    }
    m_notifier->setEnabled(true);
}

} // namespace companion
