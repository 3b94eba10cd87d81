#include "settings/SettingsStore.h"

#include "core/Log.h"

#include <QFileInfo>
#include <QStandardPaths>
#include <QStringList>

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
    m_file = std::make_unique<QSettings>(path, QSettings::IniFormat);
    if (m_file->status() != QSettings::NoError)
        logAbout(path, QStringLiteral("damaged; going on with what can be read of it"));
}

QString SettingsStore::defaultPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/presenter-companion/presenter-companion.conf");
}

std::optional<QString> SettingsStore::value(const QString &key) const {
    if (!m_file) {
        const auto found = m_memory.find(key);
        return found == m_memory.end() ? std::nullopt : std::optional(found->second);
    }
    if (!m_file->contains(key))
        return std::nullopt;
    // An unquoted comma, which only an outside writer leaves, makes the value a list.
    return m_file->value(key).toStringList().join(QLatin1Char(','));
}

void SettingsStore::setValue(const QString &key, const QString &value) {
    if (m_file)
        m_file->setValue(key, value);
    else
        m_memory[key] = value;
}

void SettingsStore::flush() {
    if (!m_file)
        return;
    m_file->sync();
    const bool failed = m_file->status() == QSettings::AccessError;
    if (failed && !m_writeFailed)
        logAbout(m_file->fileName(), QStringLiteral("cannot be written; changes will not be kept"));
    m_writeFailed = failed;
}

} // namespace companion
