#include "core/UnixClient.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace companion {
namespace {

using Clock = std::chrono::steady_clock;

bool waitToReceive(int socket, Clock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd state{socket, POLLIN, 0};
        const int ready = ::poll(&state, 1, static_cast<int>(std::max<std::int64_t>(left, 0)));
        if (ready > 0)
            return true;
        if (ready == 0 || errno != EINTR)
            return false;
    }
}

} // namespace

std::string askLine(int socket, std::string_view request, Clock::time_point deadline) {
    // A new connection's buffer is empty: the request fits, or nobody is there to read it.
    if (::send(socket, request.data(), request.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(request.size()))
        return {};
    return awaitLine(socket, deadline);
}

std::string awaitLine(int socket, Clock::time_point deadline) {
    std::string received;
    std::array<char, 256> bytes;
    while (received.size() < bytes.size() && received.find('\n') == std::string::npos &&
           waitToReceive(socket, deadline)) {
        const ssize_t length = ::recv(socket, bytes.data(), bytes.size(), 0);
        if (length == 0 || (length < 0 && errno != EAGAIN && errno != EINTR))
            break;
        if (length > 0)
            received.append(bytes.data(), static_cast<std::size_t>(length));
    }
    return received;
}

} // namespace companion
