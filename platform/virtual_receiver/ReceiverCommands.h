#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "platform/virtual_receiver/LineBuffer.h"
#include "platform/virtual_receiver/VirtualReceiver.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace companion {

struct ReceiverCommand;

// Runs the commands of one feed on the virtual receiver, in order, with exactly one reply line for each:
// "ok …" or "error …". Some replies come later; the feed's later commands then wait, other feeds' do not.
class ReceiverCommands {
public:
    using Reply = std::function<void(std::string_view line)>; // Without a line feed.

    // `reply` may call setHeld(), nothing else. `progress` runs after commands were run.
    ReceiverCommands(VirtualReceiver &receiver, MainQueue &queue, Reply reply,
                     std::function<void()> progress);

    void feed(std::string_view bytes);
    void finish(); // No more bytes will come.

    // While held no command starts: the reader of the replies is slow.
    void setHeld(bool held);

    // Whether everything that was fed has been replied to.
    bool idle() const { return !m_waiting && !m_lines.hasNext(); }

private:
    void run();
    void runLine(const LineBuffer::Line &line);
    std::string reply(const ReceiverCommand &command); // Empty: the reply comes later.
    void waitFor(const ReceiverCommand &command);
    void endWait(std::string_view reply);
    void readAnswered();

    VirtualReceiver &m_receiver;
    MainQueue &m_queue;
    Reply m_reply;
    std::function<void()> m_progress;
    LineBuffer m_lines;
    bool m_running = false;
    bool m_held = false;
    bool m_waiting = false;
    std::uint64_t m_wait = 0;          // Which wait this is: the timers of earlier ones are void.
    std::uint64_t m_answersWanted = 0; // By wait-get; 0: none.
    Lifetime m_life;
};

} // namespace companion
