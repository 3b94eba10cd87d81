#pragma once

#include <QString>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace companion {

class SettingsSaver;

// The user's key-value store: one INI file, every key in its default group, written atomically. Keys that the
// program does not know stay in the file; so does what others write into it meanwhile.
//
// A file that cannot be read is one log line; the program then goes on in memory and leaves the file alone. A
// file that cannot be written is one log line until writing works again.
class SettingsStore {
public:
    // settings_file::replace, or what a test has instead.
    using Replace = std::function<QString(const QString &path, const std::map<QString, QString> &values)>;

    // A store that forgets: for the demonstration and for tests.
    SettingsStore();

    // The folder is made when something is first saved.
    explicit SettingsStore(const QString &path);
    SettingsStore(const QString &path, Replace replace);
    ~SettingsStore();
    SettingsStore(const SettingsStore &) = delete;
    SettingsStore &operator=(const SettingsStore &) = delete;

    // From now on flush() waits for nothing: a thread of its own brings what is set to the disk, and tries
    // again where that did not work. Without a thread, which is one log line, everything stays as it is.
    void saveAside();

    // Before the process ends: gives a save that is under way this long. Nothing is saved afterwards.
    void finishSaving(std::chrono::milliseconds patience);

    // presenter-companion/presenter-companion.conf in the user's configuration folder.
    static QString defaultPath();

    // Null when the key is absent.
    std::optional<QString> value(const QString &key) const;

    void setValue(const QString &key, const QString &value);

    // Brings what was set to the disk: before it returns, but see saveAside().
    void flush();

private:
    QString m_path; // Empty: memory only.
    std::map<QString, QString> m_values;
    std::map<QString, QString> m_ours;                              // What was set here, for the file.
    std::function<bool(const std::map<QString, QString> &)> m_save; // On one thread at a time.
    std::unique_ptr<SettingsSaver> m_saver;
};

} // namespace companion
