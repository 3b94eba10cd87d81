#include "platform/virtual_receiver/SocketFeed.h"

#include "core/Log.h"

#include <QSocketNotifier>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>

namespace companion {
namespace {

using namespace std::chrono_literals;

std::string failure(const std::string &path, const std::string &reason) {
    return singleLine(path) + ": " + reason;
}

std::optional<sockaddr_un> addressOf(const std::string &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path)
        return std::nullopt;
    path.copy(address.sun_path, path.size());
    return address;
}

const sockaddr *generic(const sockaddr_un &address) {
    return reinterpret_cast<const sockaddr *>(&address);
}

FileDescriptor newSocket() {
    return FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

// Others never get in, not even between the socket's creation and a chmod.
bool bindPrivately(int socket, const sockaddr_un &address) {
    const mode_t before = ::umask(0177);
    const int result = ::bind(socket, generic(address), sizeof address);
    ::umask(before);
    return result == 0;
}

} // namespace

std::unique_ptr<ReceiverFeed> SocketFeed::create(const std::string &path, VirtualReceiver &receiver,
                                                 MainQueue &queue, std::string &error) {
    const auto address = addressOf(path);
    if (!address) {
        error = failure(path, path.empty() ? "an empty path" : "too long for a socket");
        return nullptr;
    }
    FileDescriptor listener = newSocket();
    if (!listener || !bindPrivately(listener.get(), *address)) {
        error = failure(path, std::string("cannot make the socket: ") + std::strerror(errno));
        return nullptr;
    }
    auto feed = std::make_unique<SocketFeed>(std::move(listener), path, receiver, queue);
    if (::listen(feed->m_listener.get(), 8) != 0) {
        error = failure(path, std::string("cannot listen: ") + std::strerror(errno));
        return nullptr;
    }
    return feed;
}

std::unique_ptr<ReceiverFeed> SocketFeed::replace(const std::string &path, VirtualReceiver &receiver,
                                                  MainQueue &queue, std::string &error) {
    const auto address = addressOf(path);
    if (!address) {
        error = failure(path, "too long for a socket");
        return nullptr;
    }
    const FileDescriptor probe = newSocket();
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

SocketFeed::SocketFeed(FileDescriptor listener, const std::string &path, VirtualReceiver &receiver,
                       MainQueue &queue)
    : m_listener(std::move(listener)),
      m_path(path),
      m_receiver(receiver),
      m_queue(queue) {
    struct stat status {};
    if (::stat(m_path.c_str(), &status) == 0) {
        m_device = status.st_dev;
        m_inode = status.st_ino;
    }
    m_acceptable = std::make_unique<QSocketNotifier>(m_listener.get(), QSocketNotifier::Read);
    QObject::connect(m_acceptable.get(), &QSocketNotifier::activated, m_acceptable.get(),
                     [this] { accept(); });
}

SocketFeed::~SocketFeed() {
    struct stat status {};
    if (::stat(m_path.c_str(), &status) == 0 && status.st_dev == m_device && status.st_ino == m_inode)
        ::unlink(m_path.c_str());
}

void SocketFeed::accept() {
    FileDescriptor connection(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
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
