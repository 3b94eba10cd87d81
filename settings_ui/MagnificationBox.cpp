#include "settings_ui/MagnificationBox.h"

#include <QRegularExpression>

namespace companion {
namespace {

const QRegularExpression &form() {
    static const QRegularExpression form(
        QStringLiteral(R"(^\s*(\d{1,3})\s*(?:([×xX])\s*(?:\+\s*(\d))?)?\s*$)"));
    return form;
}

} // namespace

MagnificationBox::MagnificationBox(QWidget *parent) : QSpinBox(parent) {}

// The toolkit measures the ends of the range alone, which have no remainder.
QSize MagnificationBox::sizeHint() const {
    const auto width = [this](int tenths) { return fontMetrics().horizontalAdvance(textFromValue(tenths)); };
    return QSpinBox::sizeHint() + QSize(width(99) - width(maximum()), 0);
}

QString MagnificationBox::textFromValue(int tenths) const {
    const QString whole = QStringLiteral("%1×").arg(tenths / 10);
    return tenths % 10 == 0 ? whole : QStringLiteral("%1 +%2").arg(whole).arg(tenths % 10);
}

int MagnificationBox::valueFromText(const QString &text) const {
    const auto match = form().match(text);
    const int number = match.captured(1).toInt();
    const bool tenths = match.captured(2).isEmpty() && number > 10;
    return tenths ? number : number * 10 + match.captured(3).toInt();
}

QValidator::State MagnificationBox::validate(QString &text, int &) const {
    static const QRegularExpression begun(QStringLiteral(R"(^\s*\d{0,3}\s*[×xX]?\s*\+?\s*\d?\s*$)"));
    if (!begun.match(text).hasMatch())
        return QValidator::Invalid;
    const bool whole = form().match(text).hasMatch();
    const int value = valueFromText(text);
    return whole && value >= minimum() && value <= maximum() ? QValidator::Acceptable
                                                             : QValidator::Intermediate;
}

} // namespace companion
