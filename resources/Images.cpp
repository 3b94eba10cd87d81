#include "resources/Images.h"

#include <QFile>
#include <QImageReader>

// The resources sit in a static library, so nothing registers them by itself. Needs the global namespace.
static void registerResources() {
    Q_INIT_RESOURCE(resources);
}

namespace companion {
namespace {

QString pathOf(const QString &image) {
    return QStringLiteral(":/images/%1.svg").arg(image);
}

} // namespace

QIcon image(const QString &name) {
    registerResources();
    const QString path = pathOf(name);
    return QFile::exists(path) ? QIcon(path) : QIcon();
}

QImage renderedImage(const QString &name, QSize pixels) {
    registerResources();
    QImageReader reader(pathOf(name));
    reader.setScaledSize(reader.size().scaled(pixels, Qt::KeepAspectRatio));
    return reader.read();
}

QString resourceText(const QString &name) {
    registerResources();
    QFile file(QStringLiteral(":/") + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace companion
