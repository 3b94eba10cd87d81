#include "platform/virtual_receiver/ReceiverCommands.h"

#include "platform/virtual_receiver/ReceiverCommand.h"

#include <utility>

namespace companion {
namespace {

using Verb = ReceiverCommand::Verb;

std::string describe(const VirtualReceiver::Counts &counts) {
    const std::pair<const char *, std::uint64_t> fields[] = {{"opens", counts.opens},
                                                             {"refused", counts.refused},
                                                             {"closes", counts.closes},
                                                             {"reads", counts.reads},
                                                             {"writes", counts.writes}};
    std::string text = "ok";
    for (const auto &[name, value] : fields)
        text += std::string(" ") + name + '=' + std::to_string(value);
    return text;
}

std::string describe(const std::deque<VirtualReceiver::Bytes> &reports) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text = "ok";
    for (const auto &report : reports) {
        text += ' ';
        for (const std::uint8_t byte : report) {
            text += kDigits[byte >> 4];
            text += kDigits[byte & 0xF];
        }
    }
    return text;
}

} // namespace

ReceiverCommands::ReceiverCommands(VirtualReceiver &receiver, MainQueue &queue, Reply reply,
                                   std::function<void()> progress)
    : m_receiver(receiver),
      m_queue(queue),
      m_reply(std::move(reply)),
      m_progress(std::move(progress)) {
    m_receiver.addAnswerObserver(m_life, [this] { readAnswered(); });
}

void ReceiverCommands::feed(std::string_view bytes) {
    m_lines.append(bytes);
    run();
}

void ReceiverCommands::finish() {
    m_lines.finish();
    run();
}

void ReceiverCommands::setHeld(bool held) {
    m_held = held;
    if (!held)
        run();
}

void ReceiverCommands::run() {
    if (std::exchange(m_running, true))
        return;
    while (!m_waiting && !m_held) {
        const auto line = m_lines.next();
        if (!line)
            break;
        runLine(*line);
    }
    m_running = false;
    m_progress();
}

void ReceiverCommands::runLine(const LineBuffer::Line &line) {
    if (line.tooLong) {
        m_reply("error line longer than " + std::to_string(LineBuffer::kMaxLine) + " bytes");
        return;
    }
    if (isSilentLine(line.text))
        return;
    std::string error;
    const auto command = parseReceiverCommand(line.text, error);
    const std::string text = command ? reply(*command) : "error " + error;
    if (!text.empty())
        m_reply(text);
}

std::string ReceiverCommands::reply(const ReceiverCommand &command) {
    const auto time = command.time.value_or(std::chrono::milliseconds::zero());
    switch (command.verb) {
    case Verb::Event:
        m_receiver.setEvent(command.bytes);
        break;
    case Verb::Once:
        if (!m_receiver.once(command.bytes))
            return "error once: more than " + std::to_string(VirtualReceiver::kMaxWaitingCodes) +
                   " codes would wait";
        break;
    case Verb::Plug:
        m_receiver.plug();
        break;
    case Verb::Unplug:
        m_receiver.unplug();
        break;
    case Verb::Replug:
        m_receiver.replug(time);
        break;
    case Verb::Key:
        m_receiver.pressSlideKey(command.keyCode);
        break;
    case Verb::Mode:
        m_receiver.setMode(command.mode);
        break;
    case Verb::Delay:
        m_receiver.setDelay(time);
        break;
    case Verb::Sets:
        return describe(m_receiver.written());
    case Verb::Counts:
        return describe(m_receiver.counts());
    case Verb::Wait:
    case Verb::WaitGet:
        waitFor(command);
        return {};
    }
    return "ok";
}

void ReceiverCommands::waitFor(const ReceiverCommand &command) {
    m_waiting = true;
    ++m_wait;
    if (command.verb == Verb::WaitGet)
        m_answersWanted = m_receiver.answeredReads() + command.count;
    if (!command.time)
        return;
    m_queue.post(*command.time, m_life.guard([this, wait = m_wait, count = command.count] {
        if (!m_waiting || wait != m_wait)
            return;
        endWait(m_answersWanted == 0
                    ? "ok"
                    : "error wait-get: fewer than " + std::to_string(count) + " reads were answered in time");
    }));
}

void ReceiverCommands::endWait(std::string_view text) {
    m_waiting = false;
    m_answersWanted = 0;
    m_reply(text);
    run();
}

// On a later turn: what the answer sets off in the program is then done, and no command runs inside a read.
void ReceiverCommands::readAnswered() {
    if (m_answersWanted == 0 || m_receiver.answeredReads() < m_answersWanted)
        return;
    m_answersWanted = 0;
    m_queue.post(std::chrono::milliseconds::zero(), m_life.guard([this, wait = m_wait] {
        if (m_waiting && wait == m_wait)
            endWait("ok");
    }));
}

} // namespace companion
