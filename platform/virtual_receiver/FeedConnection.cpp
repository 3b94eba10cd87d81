#include "platform/virtual_receiver/FeedConnection.h"

#include <QSocketNotifier>

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <utility>

namespace companion {
namespace {

short pollNow(int descriptor, short events) {
    pollfd state{descriptor, events, 0};
    return ::poll(&state, 1, 0) > 0 ? state.revents : short{0};
}

bool isTemporary(int error) {
    return error == EAGAIN || error == EINTR;
}

} // namespace

FeedConnection::FeedConnection(FileDescriptor input, FileDescriptor output, VirtualReceiver &receiver,
                               MainQueue &queue, std::function<void()> ended)
    : m_queue(queue),
      m_input(std::move(input)),
      m_output(std::move(output)),
      m_ended(std::move(ended)),
      m_commands(
          receiver, queue, [this](std::string_view line) { reply(line); }, [this] { update(); }) {
    if (m_input) {
        m_readable = std::make_unique<QSocketNotifier>(m_input.get(), QSocketNotifier::Read);
        QObject::connect(m_readable.get(), &QSocketNotifier::activated, m_readable.get(), [this] { read(); });
    }
    if (m_output) {
        m_writable = std::make_unique<QSocketNotifier>(m_output.get(), QSocketNotifier::Write);
        m_writable->setEnabled(false);
        QObject::connect(m_writable.get(), &QSocketNotifier::activated, m_writable.get(),
                         [this] { write(); });
    }
}

FeedConnection::~FeedConnection() = default;

void FeedConnection::runScript(std::string_view script) {
    m_commands.feed(script);
    finishInput();
}

bool FeedConnection::isAbandoned() const {
    return m_output && (pollNow(m_output.get(), 0) & (POLLHUP | POLLERR)) != 0;
}

// One read for each activation: on a blocking descriptor a second one might wait.
void FeedConnection::read() {
    std::array<char, 4096> bytes;
    const ssize_t length = ::read(m_input.get(), bytes.data(), bytes.size());
    if (length > 0)
        m_commands.feed({bytes.data(), static_cast<std::size_t>(length)});
    else if (length == 0 || !isTemporary(errno))
        finishInput();
}

void FeedConnection::finishInput() {
    m_inputEnded = true;
    m_commands.finish();
}

void FeedConnection::reply(std::string_view line) {
    if (!m_output)
        return;
    m_unsent += line;
    m_unsent += '\n';
    write();
    if (!m_unsent.empty())
        m_commands.setHeld(true);
}

void FeedConnection::write() {
    while (!m_unsent.empty() && pollNow(m_output.get(), POLLOUT) != 0) {
        // A pipe that is ready takes this much without blocking.
        const ssize_t written =
            ::write(m_output.get(), m_unsent.data(), std::min<std::size_t>(m_unsent.size(), PIPE_BUF));
        if (written < 0 && isTemporary(errno))
            break;
        m_unsent.erase(0, written > 0 ? static_cast<std::size_t>(written) : m_unsent.size());
    }
    m_writable->setEnabled(!m_unsent.empty());
    if (m_unsent.empty())
        m_commands.setHeld(false);
}

void FeedConnection::update() {
    const bool allReplied = m_commands.idle() && m_unsent.empty();
    if (m_readable)
        m_readable->setEnabled(allReplied && !m_inputEnded);
    if (allReplied && m_inputEnded && m_ended) {
        m_queue.post(std::chrono::milliseconds::zero(),
                     m_life.guard([ended = std::exchange(m_ended, nullptr)] { ended(); }));
    }
}

} // namespace companion
