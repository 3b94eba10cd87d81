#pragma once

#include <QIcon>
#include <QString>

namespace companion {

// The picture of that name from the program's resources, crisp at every scale. A null icon when there is
// none. Drawing needs Qt's SVG plugin; without it pictures stay empty.
QIcon image(const QString &name);

// The text file of that name from the program's resources.
QString resourceText(const QString &name);

} // namespace companion
