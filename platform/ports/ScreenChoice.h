#pragma once

#include <string>
#include <string_view>

namespace companion {

// Which screen the overlay is on.
struct ScreenChoice {
    enum class Rule {
        Main,
        Pointer, // The one that the pointer is on, wherever it goes while an effect is on.
        Named,
    };
    Rule rule = Rule::Main;
    std::string name{}; // As the display server calls it.
};

// "main" or nothing, "pointer", or a screen's name.
inline ScreenChoice screenChoice(std::string_view text) {
    if (text.empty() || text == "main")
        return {};
    if (text == "pointer")
        return {ScreenChoice::Rule::Pointer};
    return {ScreenChoice::Rule::Named, std::string(text)};
}

} // namespace companion
