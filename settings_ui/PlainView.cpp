#include "settings_ui/PlainView.h"

#include <QLabel>
#include <QPainter>

#include <cmath>

namespace companion {
namespace {

// Four filled strips and not a stroked path: a stroke of 1.5 pixels would be blurred.
void drawFrame(QPainter &painter, const QRectF &points, const QColor &color) {
    const QTransform toDevice = painter.deviceTransform();
    const QRect pixels = toDevice.mapRect(points).toRect();
    const int line = std::max(1, static_cast<int>(std::floor(toDevice.m11())));
    painter.save();
    painter.setTransform(toDevice.inverted(), true);
    painter.fillRect(pixels.x(), pixels.y(), pixels.width(), line, color);
    painter.fillRect(pixels.x(), pixels.bottom() + 1 - line, pixels.width(), line, color);
    painter.fillRect(pixels.x(), pixels.y(), line, pixels.height(), color);
    painter.fillRect(pixels.right() + 1 - line, pixels.y(), line, pixels.height(), color);
    painter.restore();
}

} // namespace

PlainView::PlainView(QWidget *parent) : QWidget(parent) {}

void PlainView::setBackground(const QColor &color) {
    m_background = color;
    update();
}

void PlainView::setBorder(const QColor &color) {
    m_border = color;
    update();
}

void PlainView::setCornerRadius(double points) {
    m_cornerRadius = points;
    update();
}

void PlainView::setCaption(const QLabel *caption) {
    m_caption = caption;
    update();
}

void PlainView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    if (m_background.isValid()) {
        painter.setRenderHint(QPainter::Antialiasing, m_cornerRadius > 0);
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_background);
        painter.drawRoundedRect(rect(), m_cornerRadius, m_cornerRadius);
    }
    if (m_border.isValid()) {
        QRectF frame = rect();
        if (m_caption != nullptr)
            frame.setTop(m_caption->geometry().center().y());
        drawFrame(painter, frame, m_border);
    }
}

} // namespace companion
