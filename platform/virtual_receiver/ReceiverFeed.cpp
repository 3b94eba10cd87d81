#include "platform/virtual_receiver/ReceiverFeed.h"

#include "core/Log.h"
#include "platform/virtual_receiver/FeedConnection.h"
#include "platform/virtual_receiver/ScriptCheck.h"
#include "platform/virtual_receiver/SocketFeed.h"

#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>

namespace companion {
namespace {

constexpr std::size_t kMaxScript = 1U << 20;

// Standard input, a FIFO, or a script that was read already.
class StreamFeed final : public ReceiverFeed {
public:
    StreamFeed(FileDescriptor input, VirtualReceiver &receiver, MainQueue &queue)
        : m_connection(std::move(input), FileDescriptor::copyOf(STDOUT_FILENO), receiver, queue, [] {}) {}

    StreamFeed(std::string script, VirtualReceiver &receiver, MainQueue &queue)
        : StreamFeed(FileDescriptor(), receiver, queue) {
        queue.post(std::chrono::milliseconds::zero(),
                   m_life.guard([this, script = std::move(script)] { m_connection.runScript(script); }));
    }

private:
    FeedConnection m_connection;
    Lifetime m_life;
};

std::optional<std::string> readAll(int file, std::string &error) {
    std::string text;
    std::array<char, 16384> bytes;
    for (;;) {
        const ssize_t length = ::read(file, bytes.data(), bytes.size());
        if (length < 0 && errno == EINTR)
            continue;
        if (length < 0) {
            error = std::strerror(errno);
            return std::nullopt;
        }
        if (length == 0)
            return text;
        text.append(bytes.data(), static_cast<std::size_t>(length));
        if (text.size() > kMaxScript) {
            error = "longer than " + std::to_string(kMaxScript) + " bytes";
            return std::nullopt;
        }
    }
}

std::unique_ptr<ReceiverFeed> openStandardInput(VirtualReceiver &receiver, MainQueue &queue,
                                                std::string &error) {
    FileDescriptor input = FileDescriptor::copyOf(STDIN_FILENO);
    if (!input) {
        error = std::string("standard input: ") + std::strerror(errno);
        return nullptr;
    }
    return std::make_unique<StreamFeed>(std::move(input), receiver, queue);
}

std::unique_ptr<ReceiverFeed> openStream(const std::string &path, bool isScript, VirtualReceiver &receiver,
                                         MainQueue &queue, std::string &error) {
    const std::string name = singleLine(path);
    // A FIFO that nobody writes to yet must not hold up the start.
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file) {
        error = name + ": " + std::strerror(errno);
        return nullptr;
    }
    if (!isScript)
        return std::make_unique<StreamFeed>(std::move(file), receiver, queue);
    std::string reason;
    auto script = readAll(file.get(), reason);
    if (!script) {
        error = name + ": " + reason;
        return nullptr;
    }
    if (const auto wrong = firstScriptError(*script)) {
        error = name + ':' + *wrong;
        return nullptr;
    }
    return std::make_unique<StreamFeed>(std::move(*script), receiver, queue);
}

} // namespace

std::unique_ptr<ReceiverFeed> ReceiverFeed::open(const std::string &path, VirtualReceiver &receiver,
                                                 MainQueue &queue, std::string &error) {
    // A reader of replies that has gone away must not end the program.
    std::signal(SIGPIPE, SIG_IGN);
    if (path == "-")
        return openStandardInput(receiver, queue, error);
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        if (errno == ENOENT)
            return SocketFeed::create(path, receiver, queue, error);
        error = singleLine(path) + ": " + std::strerror(errno);
        return nullptr;
    }
    if (S_ISSOCK(status.st_mode))
        return SocketFeed::replace(path, receiver, queue, error);
    if (S_ISREG(status.st_mode) || S_ISFIFO(status.st_mode))
        return openStream(path, S_ISREG(status.st_mode), receiver, queue, error);
    error =
        singleLine(path) + (S_ISDIR(status.st_mode) ? ": is a folder" : ": is neither a script nor a socket");
    return nullptr;
}

} // namespace companion
