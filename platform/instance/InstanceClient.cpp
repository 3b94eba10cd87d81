#include "platform/instance/InstanceClient.h"

#include "core/UnixClient.h"
#include "core/UnixListener.h"

namespace companion {
namespace {

constexpr std::string_view kUnderstood = "ok\n";

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
                           std::chrono::steady_clock::time_point deadline,
                           std::chrono::milliseconds patienceForReport) {
    const auto address = unixAddress(socketPath);
    const FileDescriptor socket = unixSocket();
    if (!address || !socket || ::connect(socket.get(), generic(*address), sizeof *address) != 0)
        return {};
    const ucred peer = peerOf(socket.get());
    if (peer.uid != ::geteuid())
        return {};
    InstanceAnswer answer{false, {}, peer.pid};
    std::string received = askLine(socket.get(), std::string(command) + "\n", deadline);
    answer.understood = received.starts_with(kUnderstood);
    if (answer.understood && patienceForReport.count() > 0) {
        received.erase(0, kUnderstood.size());
        if (received.empty())
            received = awaitLine(socket.get(), std::chrono::steady_clock::now() + patienceForReport);
        answer.report = received.substr(0, received.find('\n'));
    }
    return answer;
}

} // namespace companion
