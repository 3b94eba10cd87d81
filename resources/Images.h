#pragma once

#include <QIcon>
#include <QImage>
#include <QString>

namespace companion {

// The picture of that name from the program's resources, crisp at every scale. A null icon when there is
// none. Drawing needs Qt's SVG plugin; without it pictures stay empty.
QIcon image(const QString &name);

// The same picture as large as fits the size, in pixels, and nothing kept in Qt's pixmap cache: for pictures
// that are drawn large and rarely. A null image when there is none.
QImage renderedImage(const QString &name, QSize pixels);

// The text file of that name from the program's resources.
QString resourceText(const QString &name);

} // namespace companion
