#pragma once

#include "core/FileDescriptor.h"
#include "core/UnixListener.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <string>

namespace companion {

// One connection from outside to a socket of ours. Nothing of it blocks.
class SocketClient {
public:
    explicit SocketClient(const std::string &path) {
        const auto address = unixAddress(path);
        connected = ::connect(m_socket.get(), generic(*address), sizeof *address) == 0;
    }
    bool send(std::string_view text) const {
        return ::send(m_socket.get(), text.data(), text.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(text.size());
    }

    // All that came so far.
    const std::string &received() {
        std::array<char, 4096> bytes;
        ssize_t length = 0;
        while ((length = ::recv(m_socket.get(), bytes.data(), bytes.size(), 0)) > 0)
            m_received.append(bytes.data(), static_cast<std::size_t>(length));
        m_closed |= length == 0 || errno != EAGAIN;
        return m_received;
    }
    // Whether the other side has closed.
    bool closed() { return received(), m_closed; }

    void close() { m_socket = {}; }

    bool connected = false;

private:
    FileDescriptor m_socket = unixSocket();
    bool m_closed = false;
    std::string m_received;
};

} // namespace companion
