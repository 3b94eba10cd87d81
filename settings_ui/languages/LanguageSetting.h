#pragma once

#include <QHash>
#include <QString>

#include <cstdint>
#include <optional>

namespace companion {

class SettingsStore;

using LanguageTable = QHash<QString, QString>; // From the Chinese key to the text.

// The interface texts in the language chosen by the stored index. Nothing is remembered between calls, so a
// change shows at the next lookup. Main thread only.
class LanguageSetting {
public:
    // Says where the language index is kept, until it is destroyed. main or a test fixture opens one; every
    // operation needs it.
    class UseStore {
    public:
        explicit UseStore(SettingsStore &store);
        ~UseStore();
        UseStore(const UseStore &) = delete;
        UseStore &operator=(const UseStore &) = delete;

    private:
        SettingsStore *m_outer;
    };

    LanguageSetting() = delete;

    // Stores the index, whatever it is, and brings it to the disk at once. The very first choice on a fresh
    // store stores German instead; from the second on the given index counts.
    static void setLanguageWithIndex(std::int64_t index);

    // The stored index, 0 (German) when there is none. It may lie outside of the languages.
    static std::int64_t storedIndex();

    // Null for a text that is no key. Throws as loadStringsDicWithArrayIndex does.
    static std::optional<QString> getText(const QString &key);

    // The current language's table. Throws std::out_of_range when the stored index is not a language.
    static const LanguageTable &loadStringsDicWithArrayIndex();
};

} // namespace companion
