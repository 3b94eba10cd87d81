#include "resources/Images.h"

#include <QFile>

// The resources sit in a static library, so nothing registers them by itself. Needs the global namespace.
static void registerResources() {
    Q_INIT_RESOURCE(resources);
}

namespace companion {

QIcon image(const QString &name) {
    registerResources();
    const QString path = QStringLiteral(":/images/%1.svg").arg(name);
    return QFile::exists(path) ? QIcon(path) : QIcon();
}

QString resourceText(const QString &name) {
    registerResources();
    QFile file(QStringLiteral(":/") + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace companion
