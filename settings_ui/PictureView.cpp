#include "settings_ui/PictureView.h"

#include "resources/Images.h"

#include <QPainter>

namespace companion {

PictureView::PictureView(QWidget *parent) : QWidget(parent) {}

void PictureView::setImageName(const QString &name) {
    if (name == m_name)
        return;
    m_name = name;
    m_icon = image(name);
    update();
}

void PictureView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    m_icon.paint(&painter, rect());
}

} // namespace companion
