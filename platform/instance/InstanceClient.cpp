#include "platform/instance/InstanceClient.h"

#include "core/UnixListener.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace companion {
namespace {

using Clock = std::chrono::steady_clock;

bool waitFor(int socket, short event, Clock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd state{socket, event, 0};
        const int ready = ::poll(&state, 1, static_cast<int>(std::max<std::int64_t>(left, 0)));
        if (ready > 0)
            return true;
        if (ready == 0 || errno != EINTR)
            return false;
    }
}

// Of whoever made the socket, which also a program that hangs has done.
ucred peerOf(int socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0)
        return {0, static_cast<uid_t>(-1), 0};
    return peer;
}

} // namespace

InstanceAnswer askInstance(const std::string &socketPath, std::string_view command,
                           Clock::time_point deadline) {
    const auto address = unixAddress(socketPath);
    const FileDescriptor socket = unixSocket();
    if (!address || !socket || ::connect(socket.get(), generic(*address), sizeof *address) != 0)
        return {};
    const ucred peer = peerOf(socket.get());
    if (peer.uid != ::geteuid())
        return {};
    InstanceAnswer answer{false, peer.pid};
    // A new connection's buffer is empty: the line fits, or nobody is there to read it.
    const std::string line = std::string(command) + "\n";
    if (::send(socket.get(), line.data(), line.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(line.size()))
        return answer;
    std::string received;
    while (received.size() < 256 && received.find('\n') == std::string::npos &&
           waitFor(socket.get(), POLLIN, deadline)) {
        std::array<char, 256> bytes;
        const ssize_t length = ::recv(socket.get(), bytes.data(), bytes.size(), 0);
        if (length == 0 || (length < 0 && errno != EAGAIN && errno != EINTR))
            break;
        if (length > 0)
            received.append(bytes.data(), static_cast<std::size_t>(length));
    }
    answer.understood = received.starts_with("ok\n");
    return answer;
}

} // namespace companion
