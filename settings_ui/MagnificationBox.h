#pragma once

#include <QSpinBox>

namespace companion {

// A magnification in tenths, of which only whole ones count: 50 is shown as "5×", 19 as "1× +9". Up to ten,
// a number that is typed alone means whole magnifications, above that tenths.
class MagnificationBox : public QSpinBox {
public:
    explicit MagnificationBox(QWidget *parent = nullptr);

    QSize sizeHint() const override;

protected:
    QString textFromValue(int tenths) const override;
    int valueFromText(const QString &text) const override;
    QValidator::State validate(QString &text, int &position) const override;
};

} // namespace companion
