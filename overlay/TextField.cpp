#include "overlay/TextField.h"

#include <QFont>
#include <QFontMetricsF>
#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace companion {
namespace {

constexpr double kPadding = 6; // Points kept free at the left and right edge.

QColor toQColor(const Color &color) {
    const auto part = [](double value) { return static_cast<float>(value); };
    return QColor::fromRgbF(part(color.red), part(color.green), part(color.blue), part(color.alpha));
}

constexpr int kFlags = Qt::AlignCenter | Qt::TextWordWrap;

// The system font at this size, or at the largest below it at which the text fits, in as many lines as it
// takes.
QFont fittingFont(const QString &text, double pixelSize, const QRectF &room) {
    QFont font;
    for (int size = std::max(1, qRound(pixelSize)); size > 0; --size) {
        font.setPixelSize(size);
        if (room.contains(QFontMetricsF(font).boundingRect(room, kFlags, text)))
            break;
    }
    return font;
}

} // namespace

TextField::TextField(const PointRect &frame, double fontSize) : View(frame), m_fontSize(fontSize) {}

void TextField::setText(const QString &text) {
    if (text == m_text)
        return;
    m_text = text;
    setNeedsDisplay();
}

Look TextField::drawRect(const PixelSpace &space, const PointRect &frameInRoot) {
    m_scale = space.scale;
    m_room = QRectF(space.snapped(frameInRoot)).adjusted(kPadding * m_scale, 0, -kPadding * m_scale, 0);
    if (!m_text.isEmpty())
        m_font = fittingFont(m_text, m_fontSize * m_scale, m_room);
    return {0, space.snapped(frameInRoot)};
}

void TextField::paint(const PixelPatch &patch) const {
    QImage image(reinterpret_cast<uchar *>(patch.pixels), patch.area.width(), patch.area.height(),
                 patch.stride * static_cast<int>(sizeof(Pixel)), QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    painter.translate(-patch.area.topLeft());
    const QRectF frame = pixelFrame();
    const double radius = layer().cornerRadius * m_scale;
    QPainterPath shape;
    shape.addRoundedRect(frame, radius, radius);
    painter.fillPath(shape, toQColor(layer().backgroundColor));
    if (m_text.isEmpty())
        return;
    painter.setClipPath(shape);
    painter.setFont(m_font);
    painter.setPen(Qt::black);
    painter.drawText(m_room, kFlags, m_text);
}

} // namespace companion
