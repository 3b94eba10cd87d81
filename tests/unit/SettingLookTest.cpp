// Runs at three scales; see the test list.
#include "settings_ui/SettingLook.h"
#include "resources/Images.h"
#include "settings_ui/SettingView.h"
#include "support/SettingsFixture.h"

#include <QAbstractButton>
#include <QApplication>
#include <QColorDialog>
#include <QComboBox>
#include <QImage>
#include <QLabel>
#include <QPainter>
#include <QScreen>
#include <QScrollArea>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace companion {
namespace {

// What a person would call cut off, squeezed or covered: one line per fault.
std::string layoutFaults(const QWidget &window) {
    QStringList faults;
    for (const QWidget *widget : window.findChildren<QWidget *>()) {
        if (!widget->isVisibleTo(&window) || widget->objectName().isEmpty())
            continue;
        const QString name = widget->objectName();
        const bool scrolled = qobject_cast<QScrollArea *>(widget->parentWidget()->parentWidget()) != nullptr;
        if (!scrolled && !widget->parentWidget()->rect().contains(widget->geometry()))
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

TEST_F(SettingLookTest, NothingIsCutInAnyLanguageAndTheContentFitsASmallScreen) {
    QSize size;
    for (int language = 0; language < 12; ++language) {
        store.setValue(QStringLiteral("SYSTEM_LANGUAGEINDEX"), QString::number(language));
        controller->show();
        queue.advance(std::chrono::seconds(1));
        settle();
        EXPECT_EQ(layoutFaults(*controller->window()), "") << language << " without receiver";
        center.post(LOCAL_DEVICECONNECT);
        settle();
        EXPECT_EQ(layoutFaults(*controller->window()), "") << language;
        EXPECT_TRUE(size.isEmpty() || size == find("Main").minimumSize()) << "the same in every language";
        size = find("Main").minimumSize();
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

// The screen of the test is 800 pixels wide and high, so the larger of these cases have to be scrolled.
TEST_F(SettingLookTest, EveryControlCanBeReachedWithALargeFontOnASmallScreen) {
    const QFont usual = QApplication::font();
    for (const int points : {9, 18}) {
        QFont font = usual;
        font.setPointSize(points);
        QApplication::setFont(font);
        reopen();
        EXPECT_EQ(layoutFaults(*controller->window()), "") << points;
        const QRect screen = controller->window()->screen()->availableGeometry();
        EXPECT_LE(controller->window()->width(), screen.width());
        EXPECT_LE(controller->window()->height(), screen.height());
        int controls = 0;
        for (QWidget *at = &find("modeNormalBtn"); controls < 30 && at->objectName() != "languageBtn";) {
            QTest::keyClick(at, Qt::Key_Tab);
            settle();
            at = controller->window()->focusWidget();
            EXPECT_EQ(at->visibleRegion().boundingRect(), at->rect())
                << points << " " << at->objectName().toStdString();
            ++controls;
        }
        EXPECT_EQ(controls, 9);
    }
    QApplication::setFont(usual);
}

double luminance(QRgb pixel) {
    const auto linear = [](int byte) {
        const double part = byte / 255.0;
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(pixel)) + 0.7152 * linear(qGreen(pixel)) + 0.0722 * linear(qBlue(pixel));
}

// Of the two pixels' colours (WCAG 2.1, "contrast ratio").
double contrast(QRgb one, QRgb other) {
    const double first = luminance(one) + 0.05;
    const double second = luminance(other) + 0.05;
    return std::max(first, second) / std::min(first, second);
}

TEST_F(SettingLookTest, WhatMarksAControlStandsOutFromItsSurroundings) {
    config.setMouseSizeValue(150); // The handle in the middle.
    config.setType(kEffectSpotlight);
    open();
    const auto pixel = [&](const char *name, QPoint at) {
        const QImage window = find("Main").grab().toImage();
        const QPointF centre = QPointF(find(name).mapTo(&find("Main"), at)) + QPointF(0.5, 0.5);
        const QPointF place = centre * window.devicePixelRatio();
        return window.pixel(int(place.x()), int(place.y()));
    };
    const auto middle = [&](const char *name) { return find(name).height() / 2; };
    const auto darkest = [&](const char *name) {
        const QImage image = find(name).grab(find(name).rect().adjusted(8, 6, -8, -6)).toImage();
        QRgb found = qRgb(255, 255, 255);
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                found = luminance(image.pixel(x, y)) < luminance(found) ? image.pixel(x, y) : found;
        return found;
    };
    const QRgb around = kWindowColor.rgb();
    const auto expect = [](const char *what, QRgb mark, QRgb ground, double least) {
        const double found = contrast(mark, ground);
        std::printf("%-40s %5.2f (at least %.1f)\n", what, found, least);
        EXPECT_GE(found, least) << what;
    };
    const int slider = find("mouseSizeSwitch").width();
    expect("border of a button", pixel("timeSetBtn", {0, middle("timeSetBtn")}), around, 3);
    expect("border of a number", pixel("mouseSizeNumber", {0, middle("mouseSizeNumber")}), around, 3);
    expect("groove, empty", pixel("mouseSizeSwitch", {slider - 4, middle("mouseSizeSwitch")}), around, 3);
    expect("groove, filled", pixel("mouseSizeSwitch", {4, middle("mouseSizeSwitch")}), around, 3);
    expect("handle's border", pixel("mouseSizeSwitch", {slider / 2, middle("mouseSizeSwitch") - 9}), around,
           3);
    expect("mode that is on, text", pixel("modePointBtn", {8, 20}), qRgb(255, 255, 255), 4.5);
    expect("text", darkest("mainTitleTextField"), around, 4.5);
    find("timeSetBtn").setFocus();
    expect("ring of the keyboard", pixel("timeSetBtn", {0, middle("timeSetBtn")}), around, 3);
    find("modePointBtn").setFocus();
    expect("ring inside the mode that is on", pixel("modePointBtn", {1, 20}), pixel("modePointBtn", {8, 20}),
           3);
    find("timeSetBtn").setEnabled(false);
    expect("text that is disabled", darkest("timeSetBtn"), pixel("timeSetBtn", {4, 6}), 4.5);
}

TEST_F(SettingLookTest, ColoursAreTheWindowsOwnUnderADarkDesktopToo) {
    const QPalette desktop = QApplication::palette();
    config.setType(1);
    open();
    const QImage light = find("Main").grab().toImage();
    controller->dismiss();
    settle();
    QPalette dark(QColor(40, 40, 40), QColor(20, 20, 20));
    dark.setColor(QPalette::Text, Qt::white);
    dark.setColor(QPalette::WindowText, Qt::white);
    QApplication::setPalette(dark);
    open();
    EXPECT_EQ(find("Main").grab().toImage(), light);
    QTest::mouseClick(&find("backColorWell"), Qt::LeftButton); // What is the toolkit's follows the desktop.
    auto *dialog = controller->window()->findChild<QColorDialog *>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->grab().toImage().pixel(2, 2), QColor(20, 20, 20).rgb());
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
    EXPECT_EQ(controls, 10);
}

TEST_F(SettingLookTest, EveryPictureIsThere) {
    for (const char *name : {"pre_wutexiao", "pre_jujiaodeng", "pre_jiguangbi", "pre_fangdajing",
                             "statusBarLogo", "receiver", "modeNormal", "modePoint", "modeLaser", "modeZoom",
                             "alphaFaint", "alphaSolid", "rowAlpha", "rowSize", "rowZoom"}) {
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
