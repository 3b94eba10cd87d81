#include "settings/SettingsStore.h"

#include "core/Log.h"
#include "settings/SettingsFile.h"
#include "settings/SettingsSaver.h"

#include <QStandardPaths>

#include <utility>

namespace companion {
namespace {

// Between two attempts at a disk that is full, or a folder that another program keeps.
constexpr auto kAgain = std::chrono::seconds(2);

void logAbout(const QString &path, const QString &what) {
    Log::line(QStringLiteral("settings: %1: %2").arg(path, what).toStdString());
}

} // namespace

SettingsStore::SettingsStore() = default;

SettingsStore::SettingsStore(const QString &path) : SettingsStore(path, settings_file::replace) {}

SettingsStore::SettingsStore(const QString &path, Replace replace) {
    if (const QString objection = settings_file::objectionTo(path); !objection.isEmpty()) {
        logAbout(path, objection + QStringLiteral("; going on with the defaults, changes will not be kept"));
        return;
    }
    m_path = path;
    m_save = [path, replace = std::move(replace), failed = false](const auto &values) mutable {
        const QString trouble = replace(path, values);
        if (!trouble.isEmpty() && !failed)
            logAbout(path, trouble + QStringLiteral("; changes will not be kept"));
        failed = !trouble.isEmpty();
        return !failed;
    };
    bool damaged = false;
    m_values = settings_file::read(path, damaged);
    if (damaged)
        logAbout(path, QStringLiteral("damaged; going on with what can be read of it"));
}

SettingsStore::~SettingsStore() = default;

void SettingsStore::saveAside() {
    if (m_path.isEmpty())
        return;
    m_saver = SettingsSaver::make(m_save, kAgain);
    if (!m_saver)
        logAbout(m_path, QStringLiteral("no thread to save it; a slow disk will hold up the program"));
}

void SettingsStore::finishSaving(std::chrono::milliseconds patience) {
    if (m_saver && !m_saver->finish(patience))
        logAbout(m_path, QStringLiteral("the last changes may not be kept"));
}

QString SettingsStore::defaultPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/presenter-companion/presenter-companion.conf");
}

std::optional<QString> SettingsStore::value(const QString &key) const {
    const auto found = m_values.find(key);
    return found == m_values.end() ? std::nullopt : std::optional(found->second);
}

void SettingsStore::setValue(const QString &key, const QString &value) {
    m_values[key] = value;
    m_ours[key] = value;
}

void SettingsStore::flush() {
    if (m_path.isEmpty() || m_ours.empty())
        return;
    if (m_saver)
        m_saver->save(m_ours);
    else
        m_save(m_ours);
}

} // namespace companion
