#include "settings/SettingsFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStringList>

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace companion::settings_file {
namespace {

// QSettings writes into temporary files with names by chance, and a killed writer leaves them, and its lock,
// behind. In a folder of our own they can be taken away without asking whose they are.
QString workshopOf(const QFileInfo &file) {
    return file.dir().filePath(QStringLiteral(".%1.saving").arg(file.fileName()));
}

// The folder of the settings, held by one program at a time. The kernel lets go of it when the holder dies.
class HeldFolder {
public:
    explicit HeldFolder(const QString &path)
        : m_descriptor(open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        // Another one's save takes a few milliseconds. A file system without such locks goes without.
        for (int tries = 0; m_descriptor >= 0 && tries < 50; ++tries) {
            m_held = flock(m_descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
            if (m_held)
                break;
            usleep(2'000);
        }
    }
    ~HeldFolder() {
        if (m_descriptor >= 0)
            close(m_descriptor);
    }
    HeldFolder(const HeldFolder &) = delete;
    HeldFolder &operator=(const HeldFolder &) = delete;

    bool held() const { return m_held; }

private:
    int m_descriptor;
    bool m_held = false;
};

bool write(const QString &path, const QSettings &others, const Values &values) {
    QSettings file(path, QSettings::IniFormat);
    for (const QString &key : others.allKeys())
        file.setValue(key, others.value(key));
    for (const auto &[key, value] : values)
        file.setValue(key, value);
    file.sync(); // Down to the disk.
    return file.status() == QSettings::NoError;
}

} // namespace

Values read(const QString &path, bool &damaged) {
    const QSettings file(path, QSettings::IniFormat);
    damaged = file.status() != QSettings::NoError;
    Values values;
    for (const QString &key : file.allKeys())
        // An unquoted comma, which only an outside writer leaves, makes the value a list.
        values[key] = file.value(key).toStringList().join(QLatin1Char(','));
    return values;
}

bool replace(const QString &path, const Values &values) {
    // Who keeps the settings elsewhere, and a link to them here, keeps the link.
    const QString behindLinks = QFileInfo(path).canonicalFilePath(); // Empty when there is no file yet.
    const QFileInfo file(behindLinks.isEmpty() ? path : behindLinks);
    const QDir folder = file.dir();
    if (!folder.mkpath(QStringLiteral(".")))
        return false;
    const HeldFolder hold(folder.path());
    if (!hold.held())
        return false;
    QDir workshop(workshopOf(file));
    workshop.removeRecursively();
    const QString fresh = workshop.filePath(file.fileName());
    bool good = folder.mkdir(workshop.path()) &&
                write(fresh, QSettings(file.filePath(), QSettings::IniFormat), values);
    if (good) {
        if (file.exists())
            QFile::setPermissions(fresh, file.permissions());
        good = std::rename(QFile::encodeName(fresh).constData(),
                           QFile::encodeName(file.filePath()).constData()) == 0;
    }
    workshop.removeRecursively();
    // The renaming itself is not waited for: saving happens in the middle of a talk, and either file will do.
    return good;
}

} // namespace companion::settings_file
