// Runs at three scales; see the test list.
#include "resources/Images.h"
#include "settings_ui/SettingView.h"
#include "support/SettingsFixture.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QImage>
#include <QLabel>
#include <QPainter>
#include <QTest>

namespace companion {
namespace {

// What a person would call cut off, squeezed or covered: one line per fault.
std::string layoutFaults(const QWidget &window) {
    QStringList faults;
    for (const QWidget *widget : window.findChildren<QWidget *>()) {
        if (!widget->isVisibleTo(&window) || widget->objectName().isEmpty())
            continue;
        const QString name = widget->objectName();
        if (!widget->parentWidget()->rect().contains(widget->geometry()))
            faults << name + QStringLiteral(" sticks out");
        if (const auto *label = qobject_cast<const QLabel *>(widget)) {
            const QSize text = label->fontMetrics()
                                   .boundingRect(label->wordWrap() ? label->rect() : QRect(0, 0, 9999, 9999),
                                                 label->wordWrap() ? Qt::TextWordWrap : 0, label->text())
                                   .size();
            if (text.width() > label->width() || text.height() > label->height())
                faults << name + QStringLiteral(" is cut: ") + label->text();
        } else if (const auto *button = qobject_cast<const QAbstractButton *>(widget)) {
            const int text = button->fontMetrics().horizontalAdvance(button->text());
            if (!button->text().isEmpty() && text + 16 > button->width())
                faults << name + QStringLiteral(" is cut: ") + button->text();
        } else if (const auto *list = qobject_cast<const QComboBox *>(widget)) {
            for (int i = 0; i < list->count(); ++i)
                if (list->fontMetrics().horizontalAdvance(list->itemText(i)) + 40 > list->width())
                    faults << name + QStringLiteral(" is cut: ") + list->itemText(i);
        }
        for (const QObject *other : widget->parentWidget()->children()) {
            const auto *sibling = qobject_cast<const QWidget *>(other);
            if (sibling != nullptr && sibling != widget && sibling->isVisibleTo(&window) &&
                !sibling->objectName().isEmpty() && !sibling->isWindow() &&
                sibling->geometry().intersects(widget->geometry()))
                faults << name + QStringLiteral(" overlaps ") + sibling->objectName();
        }
    }
    return faults.join(u'\n').toStdString();
}

using SettingLookTest = SettingsFixture;

TEST_F(SettingLookTest, NothingIsCutInAnyLanguageAndTheWindowFitsASmallScreen) {
    QSize size;
    for (int language = 0; language < 12; ++language) {
        store.setValue(QStringLiteral("SYSTEM_LANGUAGEINDEX"), QString::number(language));
        controller->show();
        settle();
        EXPECT_EQ(layoutFaults(*controller->window()), "") << language << " without receiver";
        center.post(LOCAL_DEVICECONNECT);
        settle();
        EXPECT_EQ(layoutFaults(*controller->window()), "") << language;
        EXPECT_TRUE(size.isEmpty() || size == controller->window()->size()) << "the same in every language";
        size = controller->window()->size();
        controller->dismiss();
        settle();
    }
    EXPECT_LE(size.width(), 1024);
    EXPECT_LE(size.height(), 600 - 28 - 32) << "with a title bar, beside a desktop panel";

    SettingView panel({config, center, [] {}});
    panel.setViewData();
    panel.show();
    settle();
    EXPECT_EQ(layoutFaults(panel), "");
}

TEST_F(SettingLookTest, ColoursAreTheWindowsOwnUnderADarkDesktopToo) {
    const QPalette desktop = QApplication::palette();
    config.setType(1);
    open();
    const QImage light = controller->window()->grab().toImage();
    controller->dismiss();
    settle();
    QPalette dark(QColor(40, 40, 40), QColor(20, 20, 20));
    dark.setColor(QPalette::Text, Qt::white);
    dark.setColor(QPalette::WindowText, Qt::white);
    QApplication::setPalette(dark);
    open();
    EXPECT_EQ(controller->window()->grab().toImage(), light);
    QApplication::setPalette(desktop);
}

TEST_F(SettingLookTest, AControlWithTheKeyboardLooksDifferentAndHasANameForAScreenReader) {
    open();
    int controls = 0;
    for (QWidget *widget : controller->window()->findChildren<QWidget *>()) {
        if (!widget->isVisible() || !(widget->focusPolicy() & Qt::TabFocus) ||
            widget->focusProxy() != nullptr)
            continue;
        SCOPED_TRACE(widget->objectName().toStdString());
        ++controls;
        EXPECT_FALSE(widget->accessibleName().isEmpty() && widget->property("text").toString().isEmpty());
        widget->setFocus(Qt::TabFocusReason);
        const QImage with = widget->grab().toImage();
        widget->clearFocus();
        EXPECT_NE(widget->grab().toImage(), with);
    }
    EXPECT_EQ(controls, 17);
}

TEST_F(SettingLookTest, EveryPictureIsThere) {
    for (const char *name : {"pre_wutexiao", "pre_jujiaodeng", "pre_jiguangbi", "pre_fangdajing",
                             "statusBarLogo", "receiver", "rowAlpha", "rowSize", "rowZoom"}) {
        QImage canvas(22, 22, QImage::Format_ARGB32_Premultiplied);
        canvas.fill(Qt::transparent);
        const QImage empty = canvas;
        QPainter painter(&canvas);
        image(QLatin1String(name)).paint(&painter, canvas.rect());
        EXPECT_NE(canvas, empty) << name;
    }
    EXPECT_TRUE(image(QStringLiteral("no such picture")).isNull());
}

} // namespace
} // namespace companion
