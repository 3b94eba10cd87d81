#include "settings_ui/PictureView.h"

#include "resources/Images.h"

#include <QPainter>

namespace companion {

PictureView::PictureView(QWidget *parent) : QWidget(parent) {}

void PictureView::setImageName(const QString &name) {
    if (name == m_name)
        return;
    m_name = name;
    m_rendered = QImage();
    update();
}

void PictureView::paintEvent(QPaintEvent *) {
    if (m_name.isEmpty())
        return;
    const QSize pixels = (QSizeF(size()) * devicePixelRatioF()).toSize();
    if (m_rendered.isNull() ||
        (m_rendered.width() != pixels.width() && m_rendered.height() != pixels.height()))
        m_rendered = renderedImage(m_name, pixels);
    m_rendered.setDevicePixelRatio(devicePixelRatioF());
    const QSizeF shown = m_rendered.deviceIndependentSize();
    QPainter(this).drawImage(QPointF((width() - shown.width()) / 2, (height() - shown.height()) / 2),
                             m_rendered);
}

} // namespace companion
