#include "settings/SettingsStore.h"

#include "core/Log.h"
#include "settings/SettingsFile.h"

#include <QFileInfo>
#include <QStandardPaths>

namespace companion {
namespace {

// The settings take a few hundred bytes; reading something huge would freeze the start.
constexpr qint64 kLargestFile = 1024 * 1024;

// Null when the file may be used.
std::optional<QString> reasonAgainst(const QFileInfo &file) {
    if (!file.exists())
        return std::nullopt;
    if (!file.isFile())
        return QStringLiteral("it is not a file");
    if (!file.isReadable())
        return QStringLiteral("no permission to read it");
    if (file.size() > kLargestFile)
        return QStringLiteral("%1 bytes are too many for settings").arg(file.size());
    return std::nullopt;
}

void logAbout(const QString &path, const QString &what) {
    Log::line(QStringLiteral("settings: %1: %2").arg(path, what).toStdString());
}

} // namespace

SettingsStore::SettingsStore() = default;

SettingsStore::SettingsStore(const QString &path) {
    const QFileInfo file(path);
    if (const auto reason = reasonAgainst(file)) {
        logAbout(path, *reason + QStringLiteral("; going on with the defaults, changes will not be kept"));
        return;
    }
    m_path = path;
    bool damaged = false;
    m_values = settings_file::read(path, damaged);
    if (damaged)
        logAbout(path, QStringLiteral("damaged; going on with what can be read of it"));
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
    const bool failed = !settings_file::replace(m_path, m_ours);
    if (failed && !m_writeFailed)
        logAbout(m_path, QStringLiteral("cannot be written; changes will not be kept"));
    m_writeFailed = failed;
}

} // namespace companion
