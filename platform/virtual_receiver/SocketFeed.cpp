#include "platform/virtual_receiver/SocketFeed.h"

#include "core/Log.h"

#include <QSocketNotifier>

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>

namespace companion {
namespace {

using namespace std::chrono_literals;

std::string failure(const std::string &path, const std::string &reason) {
    return singleLine(path) + ": " + reason;
}

} // namespace

std::unique_ptr<ReceiverFeed> SocketFeed::create(const std::string &path, VirtualReceiver &receiver,
                                                 MainQueue &queue, std::string &error) {
    auto listener = UnixListener::create(path, error);
    return listener ? std::make_unique<SocketFeed>(std::move(listener), receiver, queue) : nullptr;
}

std::unique_ptr<ReceiverFeed> SocketFeed::replace(const std::string &path, VirtualReceiver &receiver,
                                                  MainQueue &queue, std::string &error) {
    const auto address = unixAddress(path);
    if (!address) {
        error = failure(path, "too long for a socket");
        return nullptr;
    }
    const FileDescriptor probe = unixSocket();
    const bool connected = ::connect(probe.get(), generic(*address), sizeof *address) == 0;
    if (connected || errno == EAGAIN || errno == EPROTOTYPE) {
        error = failure(path, "the socket is in use");
        return nullptr;
    }
    if (errno != ECONNREFUSED || ::unlink(path.c_str()) != 0) {
        error = failure(path, std::string("cannot replace the socket: ") + std::strerror(errno));
        return nullptr;
    }
    return create(path, receiver, queue, error);
}

SocketFeed::SocketFeed(std::unique_ptr<UnixListener> listener, VirtualReceiver &receiver, MainQueue &queue)
    : m_listener(std::move(listener)),
      m_receiver(receiver),
      m_queue(queue) {
    m_acceptable = std::make_unique<QSocketNotifier>(m_listener->descriptor(), QSocketNotifier::Read);
    QObject::connect(m_acceptable.get(), &QSocketNotifier::activated, m_acceptable.get(),
                     [this] { accept(); });
}

SocketFeed::~SocketFeed() = default;

void SocketFeed::accept() {
    FileDescriptor connection = m_listener->accept();
    FileDescriptor output;
    if (connection)
        output = FileDescriptor::copyOf(connection.get()); // Leaves the reason for a failed accept alone.
    if (!connection || !output) {
        if (errno != EMFILE && errno != ENFILE)
            return;
        // Out of descriptors: the caller keeps waiting, and so do we, rather than spin.
        m_acceptable->setEnabled(false);
        m_queue.post(1s, m_life.guard([this] { m_acceptable->setEnabled(true); }));
        return;
    }
    if (m_connections.size() >= kMaxConnections)
        std::erase_if(m_connections, [](const FeedConnection &each) { return each.isAbandoned(); });
    if (m_connections.size() >= kMaxConnections)
        refuse(connection.get());
    else
        m_connections.emplace_back(std::move(connection), std::move(output), m_receiver, m_queue,
                                   [this] { dropEnded(); });
}

void SocketFeed::refuse(int connection) {
    constexpr std::string_view kRefusal = "error too many connections\n";
    // A new connection's buffer is empty: it takes this at once, or nobody is there to read it.
    [[maybe_unused]] const ssize_t sent =
        ::send(connection, kRefusal.data(), kRefusal.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
}

void SocketFeed::dropEnded() {
    std::erase_if(m_connections, [](const FeedConnection &each) { return each.hasEnded(); });
}

} // namespace companion
