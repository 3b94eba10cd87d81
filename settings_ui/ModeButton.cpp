#include "settings_ui/ModeButton.h"

#include "resources/Images.h"

#include <QKeyEvent>
#include <QPainter>

namespace companion {
namespace {

constexpr int kGlyph = 30; // Points.

QPixmap tinted(const QString &image, const QColor &color) {
    constexpr int kSharpUpTo = 3; // Device pixels per point.
    QImage glyph = renderedImage(image, QSize(kGlyph, kGlyph) * kSharpUpTo)
                       .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&glyph);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(glyph.rect(), color);
    painter.end();
    return QPixmap::fromImage(glyph);
}

QPoint directionOf(int key) {
    switch (key) {
    case Qt::Key_Left:
        return {-1, 0};
    case Qt::Key_Right:
        return {1, 0};
    case Qt::Key_Up:
        return {0, -1};
    case Qt::Key_Down:
        return {0, 1};
    default:
        return {};
    }
}

} // namespace

ModeButton::ModeButton(QWidget *parent) : QPushButton(parent) {
    setProperty("a11yRole", "radio");
    setIconSize({kGlyph, kGlyph});
}

void ModeButton::setGlyph(const QString &image) {
    QIcon icon;
    icon.addPixmap(tinted(image, QColor(0x23, 0x23, 0x1c)), QIcon::Normal, QIcon::Off);
    icon.addPixmap(tinted(image, Qt::white), QIcon::Normal, QIcon::On);
    setIcon(icon);
}

void ModeButton::keyPressEvent(QKeyEvent *event) {
    const QPoint direction = directionOf(event->key());
    if (!direction.isNull())
        focusNeighbour(direction);
    else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        click();
    else
        QPushButton::keyPressEvent(event);
}

void ModeButton::focusNeighbour(QPoint direction) {
    ModeButton *nearest = nullptr;
    int distance = 0;
    for (auto *other : parentWidget()->findChildren<ModeButton *>(Qt::FindDirectChildrenOnly)) {
        const QPoint way = other->geometry().center() - geometry().center();
        if (QPoint::dotProduct(way, direction) <= 0 ||
            (nearest != nullptr && way.manhattanLength() >= distance))
            continue;
        nearest = other;
        distance = way.manhattanLength();
    }
    if (nearest != nullptr)
        nearest->setFocus(Qt::TabFocusReason);
}

} // namespace companion
