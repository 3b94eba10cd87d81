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
#include <sys/stat.h>
#include <unistd.h>

namespace companion::settings_file {
namespace {

// The settings take a few hundred bytes; reading something huge would take long.
constexpr off_t kLargestFile = 1024 * 1024;

const QString kNotWritable = QStringLiteral("cannot be written");

// QSettings writes into temporary files with names by chance, and a killed writer leaves them, and its lock,
// behind. In a folder of our own they can be taken away without asking whose they are.
class Workshop {
public:
    explicit Workshop(const QFileInfo &file)
        : m_name(file.fileName()),
          m_path(file.dir().filePath(QStringLiteral(".%1.saving").arg(m_name))) {}

    // False when something is in its place, or in it, that no saver has left there.
    bool clear() const {
        const QByteArray path = QFile::encodeName(m_path);
        struct stat status {};
        if (lstat(path.constData(), &status) != 0)
            return errno == ENOENT;
        if (!S_ISDIR(status.st_mode) || status.st_uid != geteuid())
            return false;
        const QDir folder(m_path);
        for (const QFileInfo &left : folder.entryInfoList(QDir::Files | QDir::Hidden))
            if (left.fileName().startsWith(m_name) && !left.isSymLink())
                QFile::remove(left.filePath());
        return rmdir(path.constData()) == 0;
    }
    bool make() const { return mkdir(QFile::encodeName(m_path).constData(), S_IRWXU) == 0; }
    QString path() const { return m_path; }
    QString file() const { return m_path + QLatin1Char('/') + m_name; }

private:
    QString m_name;
    QString m_path;
};

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

QString objectionTo(const QString &path) {
    const QByteArray name = QFile::encodeName(path);
    struct stat status {};
    if (stat(name.constData(), &status) != 0) {
        if (errno == EACCES)
            return QStringLiteral("no permission to read it");
        return lstat(name.constData(), &status) != 0 ? QString() : QStringLiteral("it is a link to nothing");
    }
    if (!S_ISREG(status.st_mode))
        return QStringLiteral("it is not a file");
    if (access(name.constData(), R_OK) != 0)
        return QStringLiteral("no permission to read it");
    if (status.st_size > kLargestFile)
        return QStringLiteral("%1 bytes are too many for settings").arg(status.st_size);
    return {};
}

QString replace(const QString &path, const Values &values) {
    if (const QString objection = objectionTo(path); !objection.isEmpty())
        return objection;
    // Who keeps the settings elsewhere, and a link to them here, keeps the link.
    const QString behindLinks = QFileInfo(path).canonicalFilePath(); // Empty when there is no file yet.
    const QFileInfo file(behindLinks.isEmpty() ? path : behindLinks);
    const QDir folder = file.dir();
    if (!folder.mkpath(QStringLiteral(".")))
        return kNotWritable;
    const HeldFolder hold(folder.path());
    if (!hold.held())
        return kNotWritable;
    if (file.exists() && file.ownerId() != geteuid())
        return QStringLiteral("it belongs to somebody else");
    const Workshop workshop(file);
    if (!workshop.clear())
        return QStringLiteral("%1 is in the way").arg(workshop.path());
    bool good =
        workshop.make() && write(workshop.file(), QSettings(file.filePath(), QSettings::IniFormat), values);
    if (good) {
        if (file.exists())
            QFile::setPermissions(workshop.file(), file.permissions());
        good = std::rename(QFile::encodeName(workshop.file()).constData(),
                           QFile::encodeName(file.filePath()).constData()) == 0;
    }
    workshop.clear();
    // The renaming itself is not waited for: either file will do.
    return good ? QString() : kNotWritable;
}

} // namespace companion::settings_file
