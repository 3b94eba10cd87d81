#include "platform/virtual_receiver/ReceiverCommands.h"

#include "fuzz/FuzzCheck.h"
#include "platform/virtual_receiver/ReceiverCommand.h"
#include "platform/virtual_receiver/VirtualHidPort.h"
#include "support/VirtualMainQueue.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

using namespace companion;
using namespace std::chrono_literals;

namespace {

// As the language has it: what is too long counts as one command.
std::size_t commandsIn(std::string_view text) {
    std::size_t count = 0;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        count += line.size() > LineBuffer::kMaxLine || !isSilentLine(line);
    }
    return count;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    VirtualMainQueue queue;
    VirtualReceiver receiver(queue, [](std::chrono::milliseconds) {});
    VirtualHidPort port(receiver);
    std::vector<std::string> replies;
    ReceiverCommands commands(
        receiver, queue, [&](std::string_view line) { replies.emplace_back(line); }, [] {});
    const std::size_t half = size / 2; // In two pieces: a line may end in the next.
    commands.feed(text.substr(0, half));
    commands.feed(text.substr(half));
    commands.finish();

    // A poller, so that waits for polls can end; those without a limit may want very many.
    auto *handle = port.open(1, 1);
    for (int i = 0; i < 2000 && !commands.idle(); ++i) {
        if (handle == nullptr || port.isDisconnected(handle)) {
            if (handle != nullptr)
                port.close(handle);
            handle = port.open(1, 1);
        }
        std::array<std::uint8_t, 64> report{0x12};
        if (handle != nullptr) {
            port.getFeatureReport(handle, report);
            port.sendFeatureReport(handle, report);
        }
        queue.advance(1h);
    }
    FUZZ_CHECK(commands.idle() ? replies.size() == commandsIn(text) : replies.size() < commandsIn(text));
    for (const std::string &reply : replies) {
        FUZZ_CHECK(reply.starts_with("ok") || reply.starts_with("error "));
        FUZZ_CHECK(reply.find('\n') == std::string::npos);
    }
    return 0;
}
