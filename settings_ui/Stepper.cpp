#include "settings_ui/Stepper.h"

#include <QLineEdit>

namespace companion {

Stepper::Stepper(QWidget *parent) : QSpinBox(parent) {
    lineEdit()->hide();
    setAccelerated(true); // From one end to the other in some seconds.
    setCorrectionMode(CorrectToNearestValue);
}

QSize Stepper::sizeHint() const {
    return {76, 32}; // The style sheet gives each button half of it.
}

} // namespace companion
