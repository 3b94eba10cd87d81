#pragma once

#include "core/Log.h"

#include <algorithm>
#include <string>
#include <vector>

namespace companion {

// Takes the log for its own lifetime.
class LogRecorder {
public:
    LogRecorder() : m_before(Log::setSink([this](std::string_view text) { lines.emplace_back(text); })) {}
    ~LogRecorder() { Log::setSink(m_before); }
    LogRecorder(const LogRecorder &) = delete;
    LogRecorder &operator=(const LogRecorder &) = delete;

    std::size_t count(std::string_view text) const {
        return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), text));
    }

    std::vector<std::string> lines;

private:
    Log::Sink m_before;
};

} // namespace companion
