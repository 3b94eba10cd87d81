#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace companion {

inline constexpr std::size_t kLanguageCount = 12;
inline constexpr std::size_t kLanguageKeyCount = 17;

// One text in every language. The Chinese text is the key only: no language index selects Chinese.
struct LanguageRow {
    std::u16string_view key;
    std::array<std::u16string_view, kLanguageCount> texts; // By language index.
};

extern const std::array<LanguageRow, kLanguageKeyCount> kLanguageRows;

} // namespace companion
