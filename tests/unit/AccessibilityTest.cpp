#include "settings_ui/Accessibility.h"

#include <QAccessible>
#include <QPushButton>
#include <QSlider>

#include <gtest/gtest.h>

namespace companion {
namespace {

TEST(Accessibility, ReaderCanPressARadioButtonAndSetASliderInItsUnit) {
    describeForScreenReaders();
    QPushButton radio;
    radio.setProperty("a11yRole", "radio");
    radio.setCheckable(true);
    radio.setText(QStringLiteral("Spot && &light"));
    QAccessibleInterface *pressed = QAccessible::queryAccessibleInterface(&radio);
    EXPECT_EQ(pressed->text(QAccessible::Name), QStringLiteral("Spot & light"));
    pressed->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(radio.isChecked());
    radio.setEnabled(false);
    pressed->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(radio.isChecked());

    QSlider slider;
    slider.setRange(0, 100);
    slider.setProperty("a11yStepsPerUnit", 10);
    QAccessibleValueInterface *value = QAccessible::queryAccessibleInterface(&slider)->valueInterface();
    value->setCurrentValue(7);
    EXPECT_EQ(slider.value(), 70);
    slider.setValue(19);
    EXPECT_EQ(value->currentValue(), 1) << "whole units only";
}

} // namespace
} // namespace companion
