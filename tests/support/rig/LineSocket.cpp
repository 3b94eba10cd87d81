#include "support/rig/LineSocket.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace companion::rig {

LineSocket::LineSocket(std::string path) : m_path(std::move(path)) {
    waitUntil("a listener on " + m_path, [this] { return connectOnce(); });
}

LineSocket::~LineSocket() {
    close(m_socket);
}

bool LineSocket::connectOnce() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (m_path.size() >= sizeof address.sun_path)
        throw std::invalid_argument("the socket's path is too long: " + m_path);
    std::memcpy(address.sun_path, m_path.c_str(), m_path.size());
    m_socket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0)
        return true;
    close(m_socket);
    return false;
}

std::string LineSocket::ask(const std::string &line, milliseconds limit) {
    const std::string request = line + "\n";
    if (send(m_socket, request.data(), request.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(request.size()))
        throw std::runtime_error("could not send \"" + line + "\" to " + m_path + ": " + strerror(errno));
    waitUntil(
        "the answer to \"" + line + "\" from " + m_path,
        [this, &line] {
            std::array<char, 4096> piece{};
            const ssize_t length = recv(m_socket, piece.data(), piece.size(), MSG_DONTWAIT);
            if (length == 0)
                throw std::runtime_error(m_path + " was closed instead of answering \"" + line + "\"");
            if (length > 0)
                m_received.append(piece.data(), static_cast<std::size_t>(length));
            return m_received.find('\n') != std::string::npos;
        },
        limit);
    const std::size_t end = m_received.find('\n');
    const std::string answer = m_received.substr(0, end);
    m_received.erase(0, end + 1);
    return answer;
}

} // namespace companion::rig
