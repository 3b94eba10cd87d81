#include "core/Log.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
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

std::string timeStamp() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    char text[40];
    const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    std::snprintf(text + length, sizeof text - length, ".%03ld ", now.tv_nsec / 1'000'000);
    return text;
}

void writeToStandardError(std::string_view text) {
    static const bool journal = standardErrorIsJournal();
    std::string line = journal ? std::string() : timeStamp();
    line += singleLine(text);
    line += '\n';
    // One write per line keeps lines whole; a reader that has gone away must not end the program.
    std::string_view rest = line;
    while (!rest.empty()) {
        const ssize_t written = ::write(STDERR_FILENO, rest.data(), rest.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return;
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
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
    va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    if (length > 0)
        std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    va_end(arguments);
    line(text);
}

Log::Sink Log::setSink(Sink replacement) {
    return std::exchange(sink(), std::move(replacement));
}

std::string singleLine(std::string_view text) {
    std::string line;
    line.reserve(text.size());
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
    return line;
}

} // namespace companion
