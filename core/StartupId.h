#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace companion {

// What a desktop gives to a program that it starts, so that the program's window may come to the front: a
// start-up id or an activation token. It may come from anywhere, so what cannot be one is dropped.

inline constexpr std::size_t kLongestStartupId = 200;

// The same id; nothing for one that is too long or has blanks, control characters or anything beyond ASCII.
std::string checkedStartupId(std::string_view id);

// What this process was started with. Children, and the toolkit, which would use it for whatever window comes
// first, do not see it any more.
std::string takeStartupId();

// When the user asked for the start, in the display server's milliseconds; 0: the id does not say.
std::uint32_t startupTime(std::string_view id);

} // namespace companion
