#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace companion {

// The one log sink. The texts of lines are part of the program's behaviour, so tests record them.
class Log {
public:
    using Sink = std::function<void(std::string_view)>;

    // `text` is UTF-8. Written as one line: control characters inside it are escaped.
    static void line(std::string_view text);

    // As line(), with a printf format.
    [[gnu::format(printf, 1, 2)]] static void format(const char *format, ...);

    // Replaces the sink and returns the one before. The default writes to standard error, prefixed with a
    // time stamp unless standard error is the journal, which adds its own. It never waits for a reader; what
    // one cannot take yet is kept, and beyond some 1,000 lines it is counted instead.
    static Sink setSink(Sink sink);

    // To be called before the process is ended by other means than exit(): gives a slow reader a moment.
    static void flush();
};

// A line of UTF-8 text with its control characters escaped (a line feed becomes \n), so that no text from
// outside can pass for a second line.
std::string singleLine(std::string_view text);

} // namespace companion
