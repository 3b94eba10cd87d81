#include "settings_ui/InputHabits.h"

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QSlider>
#include <QSpinBox>

namespace companion {
namespace {

bool isDigit(const QKeyEvent &key) {
    return key.text().size() == 1 && key.text().front().isDigit();
}

// Digits at the slider, Enter at the number.
class Joint : public QObject {
public:
    Joint(QSlider &slider, QSpinBox &number) : QObject(&slider), m_slider(slider), m_number(number) {
        slider.installEventFilter(this);
        number.installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override {
        if (event->type() != QEvent::KeyPress)
            return false;
        const auto &key = *static_cast<QKeyEvent *>(event);
        if (watched == &m_slider && isDigit(key)) {
            m_number.setFocus(Qt::OtherFocusReason);
            m_number.selectAll();
            QCoreApplication::sendEvent(&m_number, event);
            return true;
        }
        if (watched == &m_number && (key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter)) {
            m_number.interpretText();
            m_slider.setFocus(Qt::OtherFocusReason);
            return true;
        }
        return false;
    }

private:
    QSlider &m_slider;
    QSpinBox &m_number;
};

} // namespace

InputHabits::InputHabits(QWidget &root) {
    for (auto *widget : root.findChildren<QWidget *>()) {
        if (!qobject_cast<QAbstractSlider *>(widget) && !qobject_cast<QAbstractSpinBox *>(widget) &&
            !qobject_cast<QComboBox *>(widget))
            continue;
        widget->installEventFilter(this);
        if (widget->focusPolicy() == Qt::WheelFocus)
            widget->setFocusPolicy(Qt::StrongFocus);
    }
}

void InputHabits::join(QSlider &slider, QSpinBox &number) {
    number.setProperty("a11yRole", "partOf");
    slider.setProperty("a11yUnit", number.suffix().trimmed());
    new Joint(slider, number); // NOLINT(cppcoreguidelines-owning-memory): the slider's.
}

bool InputHabits::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() != QEvent::Wheel || static_cast<QWidget *>(watched)->hasFocus())
        return false;
    event->ignore(); // Goes on to what scrolls the window.
    return true;
}

} // namespace companion
