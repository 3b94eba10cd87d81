#include "platform/virtual_receiver/ReceiverCommand.h"

#include "platform/ports/InputMonitor.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <iterator>
#include <span>

namespace companion {
namespace {

using Verb = ReceiverCommand::Verb;
using Words = std::span<const std::string_view>;

constexpr std::uint32_t kMaxCount = 1'000'000;
constexpr std::uint32_t kHour = 3'600'000;
constexpr std::uint32_t kMinute = 60'000;

// How the words behind a verb are read; false with the reason in `error`.
using Reader = bool (*)(Words words, ReceiverCommand &command, std::string &error);

struct Row {
    std::string_view name;
    Verb verb;
    std::size_t minWords;
    std::size_t maxWords;
    std::string_view usage;
    Reader read;
};

std::string quoted(std::string_view text) {
    constexpr std::size_t kMaxQuoted = 40;
    std::string result = "'";
    for (const char c : text.substr(0, kMaxQuoted)) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7F) {
            result += c;
        } else {
            std::array<char, 5> escaped{};
            std::snprintf(escaped.data(), escaped.size(), "\\x%02x", byte);
            result += escaped.data();
        }
    }
    return result + (text.size() > kMaxQuoted ? "…'" : "'");
}

bool readBytes(Words words, ReceiverCommand &command, std::string &error) {
    for (std::string_view word : words) {
        const std::string_view digits = word.starts_with("0x") ? word.substr(2) : word;
        std::uint8_t value = 0;
        const char *end = digits.data() + digits.size();
        const auto [stopped, failure] = std::from_chars(digits.data(), end, value, 16);
        if (digits.empty() || digits.size() > 2 || failure != std::errc{} || stopped != end) {
            error = quoted(word) + " is no byte: write one or two hex digits";
            return false;
        }
        command.bytes.push_back(value);
    }
    return true;
}

bool readNumber(std::string_view word, std::uint32_t min, std::uint32_t max, std::uint32_t &value,
                std::string &error) {
    const char *end = word.data() + word.size();
    const auto [stopped, failure] = std::from_chars(word.data(), end, value, 10);
    if (failure == std::errc{} && stopped == end && value >= min && value <= max)
        return true;
    error = quoted(word) + " is no number from " + std::to_string(min) + " to " + std::to_string(max);
    return false;
}

template <std::uint32_t Max>
bool readTime(Words words, ReceiverCommand &command, std::string &error) {
    if (words.empty())
        return true;
    std::uint32_t value = 0;
    if (!readNumber(words.front(), 0, Max, value, error))
        return false;
    command.time = std::chrono::milliseconds(value);
    return true;
}

bool readCountAndTime(Words words, ReceiverCommand &command, std::string &error) {
    return readNumber(words.front(), 1, kMaxCount, command.count, error) &&
           readTime<kHour>(words.subspan(1), command, error);
}

bool readKey(Words words, ReceiverCommand &command, std::string &error) {
    static constexpr std::pair<std::string_view, int> kKeys[] = {{"page-up", kVirtualKeyPageUp},
                                                                 {"page-down", kVirtualKeyPageDown},
                                                                 {"b", kVirtualKeyB},
                                                                 {"f5", kVirtualKeyF5}};
    for (const auto &[name, code] : kKeys) {
        if (words.front() == name) {
            command.keyCode = code;
            return true;
        }
    }
    error = quoted(words.front()) + " is no slide key: write page-up, page-down, b or f5";
    return false;
}

bool readMode(Words words, ReceiverCommand &command, std::string &error) {
    using Mode = VirtualReceiver::Mode;
    static constexpr std::pair<std::string_view, Mode> kModes[] = {
        {"ok", Mode::Ok}, {"stall", Mode::Stall}, {"short", Mode::Short}};
    for (const auto &[name, mode] : kModes) {
        if (words.front() == name) {
            command.mode = mode;
            return true;
        }
    }
    error = quoted(words.front()) + " is no mode: write ok, stall or short";
    return false;
}

bool readNothing(Words, ReceiverCommand &, std::string &) {
    return true;
}

constexpr std::size_t kAnyNumber = SIZE_MAX;

constexpr Row kRows[] = {
    {"event", Verb::Event, 1, VirtualReceiver::kMaxEventBytes, "event B [B…], at most 63 bytes", readBytes},
    {"once", Verb::Once, 1, kAnyNumber, "once B…", readBytes},
    {"plug", Verb::Plug, 0, 0, "plug", readNothing},
    {"unplug", Verb::Unplug, 0, 0, "unplug", readNothing},
    {"replug", Verb::Replug, 0, 1, "replug [MS]", readTime<kHour>},
    {"key", Verb::Key, 1, 1, "key page-up|page-down|b|f5", readKey},
    {"mode", Verb::Mode, 1, 1, "mode ok|stall|short", readMode},
    {"delay", Verb::Delay, 1, 1, "delay MS", readTime<kMinute>}, // It stops everything: not for long.
    {"wait", Verb::Wait, 1, 1, "wait MS", readTime<kHour>},
    {"wait-get", Verb::WaitGet, 1, 2, "wait-get N [MS]", readCountAndTime},
    {"sets", Verb::Sets, 0, 0, "sets", readNothing},
    {"counts", Verb::Counts, 0, 0, "counts", readNothing},
};

constexpr std::string_view kBlanks = " \t\r\v\f";

std::vector<std::string_view> wordsOf(std::string_view line) {
    std::vector<std::string_view> words;
    for (;;) {
        line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
        if (line.empty())
            return words;
        words.push_back(line.substr(0, line.find_first_of(kBlanks)));
        line.remove_prefix(words.back().size());
    }
}

} // namespace

bool isSilentLine(std::string_view line) {
    return line.starts_with('#') || line.find_first_not_of(kBlanks) == std::string_view::npos;
}

std::optional<ReceiverCommand> parseReceiverCommand(std::string_view line, std::string &error) {
    const auto words = wordsOf(line);
    if (words.empty()) {
        error = "no command";
        return std::nullopt;
    }
    const auto row = std::find_if(std::begin(kRows), std::end(kRows),
                                  [&words](const Row &each) { return each.name == words.front(); });
    if (row == std::end(kRows)) {
        error = "unknown command " + quoted(words.front());
        return std::nullopt;
    }
    const Words arguments = Words(words).subspan(1);
    ReceiverCommand command;
    command.verb = row->verb;
    std::string reason;
    if (arguments.size() < row->minWords)
        reason = "something is missing: write " + std::string(row->usage);
    else if (arguments.size() > row->maxWords)
        reason = quoted(arguments[row->maxWords]) + " is too much: write " + std::string(row->usage);
    else if (row->read(arguments, command, reason))
        return command;
    error = std::string(row->name) + ": " + reason;
    return std::nullopt;
}

std::vector<std::string_view> receiverCommandUsages() {
    std::vector<std::string_view> usages;
    for (const Row &row : kRows)
        usages.push_back(row.usage);
    return usages;
}

} // namespace companion
