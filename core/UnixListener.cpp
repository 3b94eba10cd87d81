#include "core/UnixListener.h"

#include "core/Log.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace companion {
namespace {

constexpr int kBacklog = 8;

std::string failure(const std::string &path, const std::string &reason) {
    return singleLine(path) + ": " + reason;
}

// Others never get in, not even between the socket's creation and a chmod.
bool bindPrivately(int socket, const sockaddr_un &address) {
    const mode_t before = ::umask(0177);
    const int result = ::bind(socket, generic(address), sizeof address);
    ::umask(before);
    return result == 0;
}

} // namespace

std::optional<sockaddr_un> unixAddress(const std::string &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path)
        return std::nullopt;
    path.copy(address.sun_path, path.size());
    return address;
}

FileDescriptor unixSocket() {
    return FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

std::unique_ptr<UnixListener> UnixListener::create(const std::string &path, std::string &error) {
    const auto address = unixAddress(path);
    if (!address) {
        error = failure(path, path.empty() ? "an empty path" : "too long for a socket");
        return nullptr;
    }
    FileDescriptor socket = unixSocket();
    if (!socket || !bindPrivately(socket.get(), *address)) {
        error = failure(path, std::string("cannot make the socket: ") + std::strerror(errno));
        return nullptr;
    }
    std::unique_ptr<UnixListener> listener(new UnixListener(std::move(socket), path));
    if (::listen(listener->descriptor(), kBacklog) != 0) {
        error = failure(path, std::string("cannot listen: ") + std::strerror(errno));
        return nullptr;
    }
    return listener;
}

UnixListener::UnixListener(FileDescriptor socket, const std::string &path)
    : m_socket(std::move(socket)),
      m_path(path) {
    struct stat status {};
    if (::stat(m_path.c_str(), &status) == 0) {
        m_device = status.st_dev;
        m_inode = status.st_ino;
    }
}

UnixListener::~UnixListener() {
    removeName();
}

void UnixListener::removeName() const {
    struct stat status {};
    if (::stat(m_path.c_str(), &status) == 0 && status.st_dev == m_device && status.st_ino == m_inode)
        ::unlink(m_path.c_str());
}

FileDescriptor UnixListener::accept() const {
    return FileDescriptor(::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
}

} // namespace companion
