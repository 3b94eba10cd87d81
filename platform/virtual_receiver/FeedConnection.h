#pragma once

#include "core/FileDescriptor.h"
#include "core/Lifetime.h"
#include "platform/virtual_receiver/ReceiverCommands.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>

class QSocketNotifier;

namespace companion {

// Commands in through one descriptor, replies out through another; both may be blocking, neither ever blocks
// the thread. It reads on only when everything read so far has been replied to and the replies were taken, so
// a hasty writer or a slow reader holds up nobody but itself. When the replies cannot be delivered any more,
// commands go on without.
class FeedConnection {
public:
    // `ended` is called once, on a later turn, when all input was replied to; it may destroy the connection.
    FeedConnection(FileDescriptor input, FileDescriptor output, VirtualReceiver &receiver, MainQueue &queue,
                   std::function<void()> ended);
    ~FeedConnection();

    // The whole input at once, for a feed without an input descriptor.
    void runScript(std::string_view script);

    bool hasEnded() const { return !m_ended; }

    // Whether the other end has gone away altogether, though what it asked for may still be under way.
    bool isAbandoned() const;

private:
    void read();
    void reply(std::string_view line);
    void write();
    void finishInput();
    void update();

    MainQueue &m_queue;
    FileDescriptor m_input;
    FileDescriptor m_output;
    std::string m_unsent;
    bool m_inputEnded = false;
    std::function<void()> m_ended;
    ReceiverCommands m_commands;
    std::unique_ptr<QSocketNotifier> m_readable;
    std::unique_ptr<QSocketNotifier> m_writable;
    Lifetime m_life;
};

} // namespace companion
