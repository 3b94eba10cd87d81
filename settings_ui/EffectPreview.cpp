#include "settings_ui/EffectPreview.h"

#include "resources/Images.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace companion {
namespace {

// The pictures' own units.
constexpr QSizeF kSlide(320, 160);
constexpr QPointF kSpot(236, 88);           // Where the effect is.
constexpr double kPerPoint = 0.5;           // A point of the screen.
constexpr double kRing = 2;                 // Of the lens, in points of the screen.
constexpr double kCorner = 8;               // Of the slide, points of the window.
constexpr std::int64_t kTooLarge = 100'000; // Only a record from outside has such sizes.
constexpr QColor kPaper(0xf7, 0xf6, 0xee);

// The alpha apart, and limited as the overlay limits them; nothing without a colour.
QColor colorOf(const std::optional<Color> &color, double alpha) {
    if (!color || std::isnan(alpha))
        return Qt::transparent;
    const auto part = [](double value) { return static_cast<float>(std::clamp(value, 0.0, 1.0)); };
    return QColor::fromRgbF(part(color->red), part(color->green), part(color->blue), part(alpha));
}

QPainterPath discAt(QPointF centre, double diameter) {
    QPainterPath disc;
    disc.addEllipse(centre, diameter / 2, diameter / 2);
    return disc;
}

} // namespace

EffectPreview::EffectPreview(QWidget *parent) : QWidget(parent) {}

void EffectPreview::showEffect(const QString &imageName, EffectType type) {
    if (m_name != imageName)
        m_slide = QImage();
    m_name = imageName;
    m_type = type;
    update();
}

double EffectPreview::scale() const {
    return std::min(width() / kSlide.width(), height() / kSlide.height());
}

double EffectPreview::diameter() const {
    const auto points = std::clamp<std::int64_t>(m_config->mouseSizeValue(), 0, kTooLarge);
    return static_cast<double>(points) * kPerPoint * scale();
}

QPointF EffectPreview::spot() const {
    return QRectF(rect()).center() + (kSpot - QRectF({}, kSlide).center()) * scale();
}

void EffectPreview::paintEvent(QPaintEvent *) {
    if (m_name.isEmpty() || m_config == nullptr)
        return;
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    QPainterPath screen;
    screen.addRoundedRect(rect(), kCorner, kCorner);
    painter.setClipPath(screen);
    paintSlide(painter);
    if (m_type == kEffectSpotlight)
        paintSpotlight(painter);
    else if (m_type == kEffectLaser)
        paintLaser(painter);
    else if (m_type == kEffectZoom)
        paintLens(painter);
}

void EffectPreview::paintSlide(QPainter &painter) {
    const QSize pixels = (QSizeF(size()) * devicePixelRatioF()).toSize();
    if (m_slide.isNull() || (m_slide.width() != pixels.width() && m_slide.height() != pixels.height()))
        m_slide = renderedImage(m_name, pixels);
    m_slide.setDevicePixelRatio(devicePixelRatioF());
    painter.fillRect(rect(), kPaper);
    QRectF place(QPointF(), m_slide.deviceIndependentSize());
    place.moveCenter(QRectF(rect()).center());
    painter.drawImage(place, m_slide);
}

void EffectPreview::paintSpotlight(QPainter &painter) const {
    QPainterPath dimmed;
    dimmed.addRect(rect());
    painter.fillPath(dimmed - discAt(spot(), diameter()),
                     colorOf(m_config->backColor(), m_config->backAlpha()));
}

void EffectPreview::paintLaser(QPainter &painter) const {
    painter.fillPath(discAt(spot(), diameter()), colorOf(m_config->frontColor(), m_config->frontAlpha()));
}

void EffectPreview::paintLens(QPainter &painter) {
    const QPainterPath disc = discAt(spot(), diameter());
    // Whole magnifications only.
    const auto times = static_cast<double>(std::min(m_config->mouseZoomValue(), kTooLarge) / 10);
    if (times > 0) {
        painter.save();
        painter.setClipPath(disc, Qt::IntersectClip);
        painter.translate(spot());
        painter.scale(times, times);
        painter.translate(-spot());
        paintSlide(painter);
        painter.restore();
    }
    painter.strokePath(disc, QPen(Qt::white, std::max(1.5, kRing * kPerPoint * scale())));
}

} // namespace companion
