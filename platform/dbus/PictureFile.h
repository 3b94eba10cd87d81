#pragma once

#include <QImage>
#include <QUrl>

#include <ctime>

namespace companion {

// The picture in a file that the portal has left for us, which is then removed. Null, and the file stays, for
// anything but a regular PNG file of this user that is no older than `asked` (seconds since 1970) and is in
// no second place. Waits for the disk.
QImage takeAwayPicture(const QUrl &file, std::time_t asked);

} // namespace companion
