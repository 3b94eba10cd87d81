#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace companion {

// The first line of a command script that is no command: "3: unknown command 'plugg'". Nothing when all is
// well.
std::optional<std::string> firstScriptError(std::string_view script);

} // namespace companion
