#include "platform/dbus/PictureFile.h"

#include "core/FileDescriptor.h"

#include <QFile>
#include <QImageReader>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace companion {
namespace {

constexpr std::time_t kSlack = 2; // Seconds: clocks of folders on a network.
constexpr off_t kLargest = 512L << 20;

} // namespace

QImage takeAwayPicture(const QUrl &file, std::time_t asked) {
    const QByteArray path = QFile::encodeName(file.toLocalFile());
    if (path.isEmpty())
        return {};
    const FileDescriptor open(::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat opened {};
    if (!open || ::fstat(open.get(), &opened) != 0 || !S_ISREG(opened.st_mode) ||
        opened.st_uid != ::geteuid() || opened.st_nlink != 1 || opened.st_size > kLargest ||
        opened.st_mtime < asked - kSlack)
        return {};
    QFile device;
    if (!device.open(open.get(), QIODevice::ReadOnly))
        return {};
    QImage picture = QImageReader(&device, "png").read();
    struct stat named {};
    if (!picture.isNull() && ::lstat(path.constData(), &named) == 0 && named.st_dev == opened.st_dev &&
        named.st_ino == opened.st_ino)
        ::unlink(path.constData());
    return picture;
}

} // namespace companion
