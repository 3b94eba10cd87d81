#include "settings_ui/languages/LanguageSetting.h"

#include "settings/SettingsStore.h"
#include "settings/StoredValues.h"
#include "settings_ui/languages/LanguageTables.h"

#include <array>
#include <cassert>
#include <stdexcept>
#include <string>
#include <utility>

namespace companion {
namespace {

using Tables = std::array<LanguageTable, kLanguageCount>;

const QString kIndexKey = QStringLiteral("SYSTEM_LANGUAGEINDEX");

SettingsStore *s_store = nullptr;

SettingsStore &store() {
    assert(s_store != nullptr);
    return *s_store;
}

QString toQString(std::u16string_view text) {
    return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
}

Tables buildTables() {
    Tables tables;
    for (const LanguageRow &row : kLanguageRows)
        for (std::size_t language = 0; language < kLanguageCount; ++language)
            tables[language].insert(toQString(row.key), toQString(row.texts[language]));
    return tables;
}

} // namespace

LanguageSetting::UseStore::UseStore(SettingsStore &store) : m_outer(std::exchange(s_store, &store)) {}

LanguageSetting::UseStore::~UseStore() {
    s_store = m_outer;
}

void LanguageSetting::setLanguageWithIndex(std::int64_t index) {
    const bool first = !store().value(kIndexKey);
    store().setValue(kIndexKey, stored::fromSigned(first ? 0 : index));
    store().flush();
}

std::int64_t LanguageSetting::storedIndex() {
    const auto text = store().value(kIndexKey);
    return text ? stored::toSigned(*text).value_or(0) : 0;
}

std::optional<QString> LanguageSetting::getText(const QString &key) {
    const LanguageTable &table = loadStringsDicWithArrayIndex();
    const auto found = table.constFind(key);
    return found == table.constEnd() ? std::nullopt : std::optional(*found);
}

const LanguageTable &LanguageSetting::loadStringsDicWithArrayIndex() {
    static const Tables tables = buildTables();
    const std::int64_t index = storedIndex();
    if (index < 0 || std::cmp_greater_equal(index, kLanguageCount))
        throw std::out_of_range("SYSTEM_LANGUAGEINDEX is " + std::to_string(index) +
                                ", which is not in the range 0 to " + std::to_string(kLanguageCount - 1));
    return tables[static_cast<std::size_t>(index)];
}

} // namespace companion
