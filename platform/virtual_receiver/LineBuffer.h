#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace companion {

// Cuts bytes into lines without their line feeds. A line of more than kMaxLine bytes comes out once as
// tooLong, without its text; the rest of it is dropped.
class LineBuffer {
public:
    static constexpr std::size_t kMaxLine = 4096;
    struct Line {
        std::string text;
        bool tooLong = false;
    };

    void append(std::string_view bytes);
    void finish() { m_finished = true; } // What is left without a line feed is a line too.
    std::optional<Line> next();
    bool hasNext() const; // Whether next() would give a line.

private:
    std::string_view rest() const { return std::string_view(m_bytes).substr(m_taken); }

    std::string m_bytes;
    std::size_t m_taken = 0;
    bool m_dropping = false; // Inside a line that was too long.
    bool m_finished = false;
};

} // namespace companion
