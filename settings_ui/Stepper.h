#pragma once

#include <QSpinBox>

namespace companion {

// Two buttons, less and more, for a whole number that is shown elsewhere. The arrow keys and the wheel step,
// and digits typed while it has the focus are the number.
class Stepper : public QSpinBox {
public:
    explicit Stepper(QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }
};

} // namespace companion
