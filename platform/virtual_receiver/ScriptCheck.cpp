#include "platform/virtual_receiver/ScriptCheck.h"

#include "platform/virtual_receiver/LineBuffer.h"
#include "platform/virtual_receiver/ReceiverCommand.h"

namespace companion {

std::optional<std::string> firstScriptError(std::string_view script) {
    LineBuffer lines;
    lines.append(script);
    lines.finish();
    std::string error;
    for (int number = 1; const auto line = lines.next(); ++number) {
        if (line->tooLong)
            error = "line longer than " + std::to_string(LineBuffer::kMaxLine) + " bytes";
        else if (!isSilentLine(line->text))
            parseReceiverCommand(line->text, error);
        if (!error.empty())
            return std::to_string(number) + ": " + error;
    }
    return std::nullopt;
}

} // namespace companion
