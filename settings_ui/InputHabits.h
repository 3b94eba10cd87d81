#pragma once

#include <QObject>

class QSlider;
class QSpinBox;
class QWidget;

namespace companion {

// What the keyboard and the wheel do in the settings besides what the toolkit lets them do. The wheel changes
// nothing that has not the keyboard: who scrolls past a slider did not mean it. A slider and the number
// beside it are one control: digits typed at the slider go to the number, and Enter leads back; a screen
// reader hears the slider alone, with the unit of the number.
class InputHabits : public QObject {
public:
    // For all sliders, numbers and lists inside `root`, which must outlive the object.
    explicit InputHabits(QWidget &root);

    static void join(QSlider &slider, QSpinBox &number);

    bool eventFilter(QObject *watched, QEvent *event) override;
};

} // namespace companion
