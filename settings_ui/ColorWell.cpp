#include "settings_ui/ColorWell.h"

#include <QColorDialog>
#include <QPainter>

#include <algorithm>

namespace companion {
namespace {

ColorWell *s_active = nullptr; // One colour dialog at a time, whichever well it belongs to.

QColor toQColor(const Color &color) {
    const auto byte = [](double part) { return qRound(std::clamp(part, 0.0, 1.0) * 255); };
    return {byte(color.red), byte(color.green), byte(color.blue)};
}

} // namespace

ColorWell::ColorWell(QWidget *parent) : QPushButton(parent) {
    connect(this, &QPushButton::clicked, this, &ColorWell::activate);
}

ColorWell::~ColorWell() {
    m_dialogClosed = nullptr; // Whoever listens may be going, too.
    deactivate();
}

void ColorWell::setColor(const std::optional<Color> &color) {
    m_color = color;
    setAccessibleDescription(color ? toQColor(*color).name() : QString());
    update();
}

void ColorWell::setCaption(const QString &caption) {
    m_caption = caption;
    if (m_dialog != nullptr)
        m_dialog->setWindowTitle(caption);
}

bool ColorWell::isActive() const {
    return m_dialog != nullptr;
}

void ColorWell::activate() {
    if (m_dialog != nullptr) {
        m_dialog->raise();
        m_dialog->activateWindow();
        return;
    }
    if (s_active != nullptr)
        s_active->deactivate();
    s_active = this;

    // A child of the window, not of the well: it must stand above the window without its style sheet.
    // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): the window's.
    m_dialog = new QColorDialog(m_color ? toQColor(*m_color) : QColor(Qt::black), window());
    m_dialog->setWindowTitle(m_caption);
    m_dialog->setAttribute(Qt::WA_DeleteOnClose);
    m_dialog->setAttribute(Qt::WA_QuitOnClose, false);
    m_dialog->setWindowFlag(Qt::WindowStaysOnTopHint, window()->windowFlags() & Qt::WindowStaysOnTopHint);
    if (m_choice == Choice::OnEveryPick) {
        m_dialog->setOption(QColorDialog::NoButtons);
        connect(m_dialog, &QColorDialog::currentColorChanged, this, &ColorWell::select);
    }
    connect(m_dialog, &QDialog::finished, this, &ColorWell::finish);
    m_dialog->setModal(false);
    m_dialog->show();
    update();
}

void ColorWell::deactivate() {
    if (s_active == this)
        s_active = nullptr;
    if (m_dialog == nullptr)
        return;
    m_dialog->disconnect(this);
    m_dialog->hide();
    m_dialog->deleteLater();
    m_dialog = nullptr;
    update();
    if (m_dialogClosed)
        m_dialogClosed();
}

void ColorWell::finish(int result) {
    if (result == QDialog::Accepted && m_choice == Choice::OnAccept)
        select(m_dialog->currentColor());
    deactivate();
}

void ColorWell::select(const QColor &color) {
    if (!color.isValid())
        return;
    setColor(Color{color.red() / 255.0, color.green() / 255.0, color.blue() / 255.0, 1});
    if (m_selected)
        m_selected();
}

void ColorWell::paintEvent(QPaintEvent *event) {
    QPushButton::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF swatch = QRectF(rect()).adjusted(6, 6, -6, -6);
    painter.setPen(QPen(QColor(0x5f, 0x5e, 0x4c), 1));
    painter.setBrush(m_color ? toQColor(*m_color) : QColor(Qt::white));
    painter.drawRoundedRect(swatch.adjusted(0.5, 0.5, -0.5, -0.5), 2, 2);
    if (!m_color) {
        painter.setPen(QPen(QColor(0xb0, 0, 0), 2));
        painter.drawLine(swatch.bottomLeft() + QPointF(2, -2), swatch.topRight() + QPointF(-2, 2));
    }
}

} // namespace companion
