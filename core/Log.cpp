#include "core/Log.h"

#include "core/LineWriter.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>

namespace companion {
namespace {

// The journal names its stream's device and inode in the environment of what it captures.
bool standardErrorIsJournal() {
    const char *stream = std::getenv("JOURNAL_STREAM");
    if (stream == nullptr)
        return false;
    unsigned long long device = 0;
    unsigned long long inode = 0;
    struct stat status {};
    return std::sscanf(stream, "%llu:%llu", &device, &inode) == 2 && fstat(STDERR_FILENO, &status) == 0 &&
           status.st_dev == device && status.st_ino == inode;
}

// The second is worked out once: a lens logs a line for every pointer event.
void appendTimeStamp(std::string &line) {
    thread_local time_t second = -1;
    thread_local char text[] = "0000-00-00 00:00:00.000 ";
    constexpr std::size_t fraction = 20; // Where the milliseconds stand.
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (now.tv_sec != second) {
        second = now.tv_sec;
        tm local{};
        localtime_r(&second, &local);
        std::strftime(text, fraction, "%Y-%m-%d %H:%M:%S", &local);
        text[fraction - 1] = '.';
    }
    const auto milliseconds = static_cast<unsigned>(now.tv_nsec / 1'000'000);
    for (std::size_t digit = 0, rest = milliseconds; digit < 3; ++digit, rest /= 10)
        text[fraction + 2 - digit] = static_cast<char>('0' + rest % 10);
    line += text;
}

void appendSingleLine(std::string &line, std::string_view text) {
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n') {
            line += "\\n";
        } else if (byte < 0x20 || byte == 0x7F) {
            char escaped[5];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", byte);
            line += escaped;
        } else {
            line += c;
        }
    }
}

void compose(std::string &line, std::string_view text) {
    static const bool journal = standardErrorIsJournal();
    line.clear();
    if (!journal)
        appendTimeStamp(line);
    appendSingleLine(line, text);
    line += '\n';
}

std::string dropNotice(std::uint64_t dropped) {
    std::string line;
    compose(line, std::to_string(dropped) + " log lines were dropped: nobody read them in time");
    return line;
}

constexpr std::size_t kWaitingRoom = 64 * 1024;

struct StandardError {
    LineWriter writer{STDERR_FILENO, kWaitingRoom, dropNotice};
    ~StandardError() { writer.flush(kPatience); }
    // For a reader that is only slow; one that has stopped must not keep the program from ending.
    static constexpr std::chrono::milliseconds kPatience{300};
};

StandardError &standardError() {
    static StandardError only;
    return only;
}

void writeToStandardError(std::string_view text) {
    thread_local std::string line; // Kept for its memory.
    compose(line, text);
    standardError().writer.write(line);
}

Log::Sink &sink() {
    static Log::Sink current = writeToStandardError;
    return current;
}

} // namespace

void Log::line(std::string_view text) {
    sink()(text);
}

void Log::format(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    char usual[256]; // Of lines that are written for every pointer event.
    const int length = std::vsnprintf(usual, sizeof usual, format, arguments);
    va_end(arguments);
    if (length >= 0 && static_cast<std::size_t>(length) < sizeof usual) {
        line({usual, static_cast<std::size_t>(length)});
    } else if (length > 0) {
        std::string text(static_cast<std::size_t>(length), '\0');
        std::vsnprintf(text.data(), text.size() + 1, format, again);
        line(text);
    }
    va_end(again);
}

void Log::flush() {
    standardError().writer.flush(StandardError::kPatience);
}

Log::Sink Log::setSink(Sink replacement) {
    return std::exchange(sink(), std::move(replacement));
}

std::string singleLine(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    appendSingleLine(line, text);
    return line;
}

} // namespace companion
