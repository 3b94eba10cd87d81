#pragma once

#include <QString>

#include <map>
#include <optional>

namespace companion {

// The user's key-value store: one INI file, every key in its default group, written atomically. Keys that the
// program does not know stay in the file; so does what others write into it meanwhile.
//
// A file that cannot be read is one log line; the program then goes on in memory and leaves the file alone. A
// file that cannot be written is one log line until writing works again.
class SettingsStore {
public:
    // A store that forgets: for the demonstration and for tests.
    SettingsStore();

    // The folder is made when something is first saved.
    explicit SettingsStore(const QString &path);

    // presenter-companion/presenter-companion.conf in the user's configuration folder.
    static QString defaultPath();

    // Null when the key is absent.
    std::optional<QString> value(const QString &key) const;

    void setValue(const QString &key, const QString &value);

    // Brings what was set to the disk.
    void flush();

private:
    QString m_path; // Empty: memory only.
    std::map<QString, QString> m_values;
    std::map<QString, QString> m_ours; // What was set here, for the file.
    bool m_writeFailed = false;
};

} // namespace companion
