#include "core/StartupId.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>

namespace companion {

std::string checkedStartupId(std::string_view id) {
    const bool plain = std::all_of(id.begin(), id.end(), [](char c) { return c > ' ' && c <= '~'; });
    return plain && id.size() <= kLongestStartupId ? std::string(id) : std::string();
}

std::string takeStartupId() {
    std::string id;
    // Desktops that set both set them alike, but for the time, which only the older one has.
    for (const char *name : {"DESKTOP_STARTUP_ID", "XDG_ACTIVATION_TOKEN"}) {
        const char *value = std::getenv(name);
        if (value != nullptr && id.empty())
            id = checkedStartupId(value);
        ::unsetenv(name);
    }
    return id;
}

std::uint32_t startupTime(std::string_view id) {
    constexpr std::string_view kMark = "_TIME";
    const std::size_t mark = id.rfind(kMark);
    if (mark == std::string_view::npos)
        return 0;
    const std::string_view digits = id.substr(mark + kMark.size());
    std::uint32_t time = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), time);
    return error == std::errc() && end == digits.data() + digits.size() ? time : 0;
}

} // namespace companion
