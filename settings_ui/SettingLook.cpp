#include "settings_ui/SettingLook.h"

#include "resources/Images.h"
#include "settings_ui/languages/LanguageTables.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QPalette>
#include <QPointer>
#include <QStyle>
#include <QStyleFactory>

#include <algorithm>

namespace companion {
namespace {

QPalette lightPalette() {
    QPalette palette(QColor(0xef, 0xee, 0xe2), kWindowColor);
    palette.setColor(QPalette::Base, QColor(0xf9, 0xf8, 0xf0));
    palette.setColor(QPalette::WindowText, QColor(0x23, 0x23, 0x1c));
    palette.setColor(QPalette::Text, QColor(0x23, 0x23, 0x1c));
    palette.setColor(QPalette::ButtonText, QColor(0x23, 0x23, 0x1c));
    palette.setColor(QPalette::Highlight, QColor(0x2a, 0x66, 0xb0));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}

// Asks the widget itself: how a text becomes a width is the style's business.
template <class Widget>
int widestHint(Widget &widget, const LanguageRow &row) {
    const QString shown = widget.text();
    int widest = 0;
    for (const std::u16string_view text : row.texts) {
        widget.setText(QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size())));
        widest = std::max(widest, widget.sizeHint().width());
    }
    widget.setText(shown);
    return widest;
}

} // namespace

void applyLook(QWidget &root) {
    // Owned by the application object, since a style must outlive the widgets that it draws.
    static QPointer<QStyle> style;
    if (style == nullptr) {
        style = QStyleFactory::create(QStringLiteral("Fusion"));
        style->setParent(qApp);
    }
    root.setPalette(lightPalette());
    root.setStyle(style);
    for (QWidget *widget : root.findChildren<QWidget *>())
        widget->setStyle(style);
    root.setStyleSheet(resourceText(QStringLiteral("settings.qss")));
    for (QWidget *widget : root.findChildren<QWidget *>())
        widget->ensurePolished(); // Not only when shown: layouts must measure with the style sheet's sizes.
}

void captionOnFrameLine(QLabel &caption) {
    caption.setStyleSheet(QStringLiteral("background: %1; padding: 0px 5px;").arg(kWindowColor.name()));
}

void reserveWidth(QWidget &widget, const QString &key) {
    const auto row = std::find_if(kLanguageRows.begin(), kLanguageRows.end(), [&key](const LanguageRow &r) {
        return key == QStringView(r.key.data(), static_cast<qsizetype>(r.key.size()));
    });
    if (row == kLanguageRows.end())
        return;
    if (auto *label = qobject_cast<QLabel *>(&widget))
        widget.setMinimumWidth(widestHint(*label, *row));
    else if (auto *button = qobject_cast<QAbstractButton *>(&widget))
        widget.setMinimumWidth(widestHint(*button, *row));
}

void wrapEvenly(QLabel &label, int widest) {
    const auto sizeIn = [&label](int width) {
        return label.fontMetrics()
            .boundingRect(QRect(0, 0, width, QWIDGETSIZE_MAX), Qt::TextWordWrap, label.text())
            .size();
    };
    const int height = sizeIn(widest).height();
    int tooNarrow = 0;
    int enough = widest;
    while (enough - tooNarrow > 1) {
        const int width = (tooNarrow + enough) / 2;
        const QSize size = sizeIn(width);
        const bool fits = size.height() <= height && size.width() <= width;
        (fits ? enough : tooNarrow) = width;
    }
    label.setFixedSize(enough, height);
}

} // namespace companion
