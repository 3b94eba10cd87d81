// Every control of the settings window, by mouse and by keyboard, and what it does to the file and the
// receiver.
#include "e2e/SettingsDesk.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace companion::rig {
namespace {

TEST(SettingsControls, ChangeTheFileAtOnceWhenUsedWithTheMouse) {
    SettingsDesk desk( // All sliders in the middle.
        english({{"LOCAL_MOUSESIZEVALUE", "150"}, {"LOCAL_BACKALPHA", "0.5"}, {"LOCAL_FRONTALPHA", "0.5"}}));
    desk.open();
    for (const std::size_t type : {3U, 1U, 2U, 2U, 0U}) {
        desk.click(control::kModes[type]);
        desk.expectStored("LOCAL_MOUSETYPE", std::to_string(type));
        desk.expectMode(type);
    }
    struct Case {
        const char *key;
        Control slider, number;
        const char *highest, *typed, *expected, *wheeled;
    };
    const Case cases[] = {
        {"LOCAL_MOUSESIZEVALUE", control::kSizeSlider, control::kSizeNumber, "250", "137", "137", "138"},
        {"LOCAL_MOUSEROOMVALUE", control::kZoomSlider, control::kZoomNumber, "100", "25", "25", "26"},
        {"LOCAL_BACKALPHA", control::kBackAlphaSlider, control::kBackAlphaNumber, "1", "35",
         "0.3499999940395355", "0.36000001430511475"},
        {"LOCAL_FRONTALPHA", control::kFrontAlphaSlider, control::kFrontAlphaNumber, "1", "29",
         "0.28999999165534973", "0.30000001192092896"}};
    for (const Case &c : cases) {
        desk.drag(c.slider, 250);
        desk.expectStored(c.key, c.highest);
        desk.clickInto(c.number);
        desk.retype(c.typed);
        desk.expectStored(c.key, c.expected);
        desk.hand.click(4); // The wheel, upwards.
        desk.expectStored(c.key, c.wheeled);
    }
}

TEST(SettingsControls, ChangeTheFileAtOnceWhenUsedWithTheKeyboardAlone) {
    SettingsDesk desk(kEnglish);
    desk.open();
    int at = 0;
    const auto go = [&](const Control &control) {
        desk.tab(control.tabs - at);
        at = control.tabs;
    };
    for (const std::size_t type : {0U, 1U, 2U, 3U}) {
        go(control::kModes[type]);
        desk.hand.tapKey(kKeySpace);
        desk.expectStored("LOCAL_MOUSETYPE", std::to_string(type));
    }
    const auto useSlider = [&](const Control &control, const char *key, const char *lowest,
                               const char *second, const char *highest) {
        go(control);
        desk.hand.tapKey(kKeyEnd);
        desk.expectStored(key, highest);
        desk.hand.tapKey(kKeyHome);
        desk.expectStored(key, lowest);
        desk.hand.tapKey(kKeyRight);
        desk.expectStored(key, second);
    };
    const auto useNumber = [&](const Control &control, const char *key, const char *typed,
                               const char *expected, const char *above) {
        go(control);
        desk.hand.type(typed); // Instead of the old number.
        desk.expectStored(key, expected);
        desk.hand.tapKey(kKeyUp);
        desk.expectStored(key, above);
    };
    useSlider(control::kSizeSlider, "LOCAL_MOUSESIZEVALUE", "50", "51", "250");
    useNumber(control::kSizeNumber, "LOCAL_MOUSESIZEVALUE", "199", "199", "200");
    useSlider(control::kZoomSlider, "LOCAL_MOUSEROOMVALUE", "0", "10", "100"); // Whole magnifications.
    useNumber(control::kZoomNumber, "LOCAL_MOUSEROOMVALUE", "33", "33", "34");
    go(control::kBackColor);
    desk.hand.tapKey(kKeySpace);
    desk.awaitDialog();
    desk.hand.tapKey(kKeyH, kKeyAlt);
    desk.retype("#3366ff");
    desk.hand.tapKey(kKeyReturn);
    desk.expectStored("LOCAL_BACKCOLOR", "srgb 0.2 0.4 1 1");
    desk.awaitNoDialog();
    useSlider(control::kBackAlphaSlider, "LOCAL_BACKALPHA", "0", "0.009999999776482582", "1");
    useNumber(control::kBackAlphaNumber, "LOCAL_BACKALPHA", "57", "0.5699999928474426", "0.5799999833106995");
    useSlider(control::kFrontAlphaSlider, "LOCAL_FRONTALPHA", "0", "0.009999999776482582", "1");
    useNumber(control::kFrontAlphaNumber, "LOCAL_FRONTALPHA", "96", "0.9599999785423279",
              "0.9700000286102295");
    EXPECT_EQ(desk.stored("LOCAL_MOUSESPEEDVALUE"), "50") << "no key leads to it";
}

TEST(SettingsControls, AreTwiceAsLargeWithTwoPixelsToThePoint) {
    SettingsDesk desk(
        CompanionProcess::Options{.settings = kEnglish, .environment = {{"QT_SCALE_FACTOR", "2"}}},
        {.size = {1920, 1080}});
    const auto window = desk.open();
    EXPECT_TRUE(QRect(0, 0, 1920, 1080).contains(desk.areaOf(desk.frameOf(window))));
    desk.click(control::kModes[3]);
    desk.expectStored("LOCAL_MOUSETYPE", "3");
    desk.expectMode(3);
    desk.clickInto(control::kFrontAlphaNumber);
    desk.retype("35");
    desk.expectStored("LOCAL_FRONTALPHA", "0.3499999940395355");
}

TEST(SettingsControls, ColourDialogBlocksNothingAndItsCancelChangesNothing) {
    SettingsDesk desk(kEnglish);
    const auto window = desk.open();
    desk.moveTo(window, {0, 30});
    desk.click(control::kFrontColor);
    const auto dialog = desk.awaitDialog();
    desk.moveTo(dialog, {490, 300});
    desk.hand.tapKey(kKeyH, kKeyAlt);
    desk.retype("#00cc33");
    // Other controls, the presenter's keys and the tray go on while it is open.
    desk.click(control::kModes[2]);
    desk.expectStored("LOCAL_MOUSETYPE", "2");
    desk.companion.pressOnce("01");
    desk.expectStored("LOCAL_MOUSETYPE", "3");
    desk.expectMode(3);
    EXPECT_EQ(desk.stored("LOCAL_FRONTCOLOR"), "srgb 1 0 0 1");
    desk.hand.clickAt(desk.areaOf(dialog).topLeft() + QPoint(150, 8)); // Its own keyboard again.
    waitUntil("its keyboard", [&] { return desk.activeWindow() == dialog; });
    desk.hand.tapKey(kKeyEscape);
    desk.awaitNoDialog();
    desk.click(control::kModes[1]);
    desk.expectStored("LOCAL_MOUSETYPE", "1");
    EXPECT_EQ(desk.stored("LOCAL_FRONTCOLOR"), "srgb 1 0 0 1");
}

TEST(SettingsControls, SendTheTimerOnceForEachPressAndNotTwiceWithinHalfASecond) {
    SettingsDesk desk(kEnglish);
    desk.open();
    std::string expected;
    const auto report = [](const char *minutes) {
        return "12" + std::string(minutes) + std::string(62 * 2, '0');
    };
    const auto sets = [&] {
        std::string all = desk.companion.receiver("sets");
        std::erase(all, ' ');
        return all;
    };
    const auto restsUntilEnabled = [&] {
        const QRgb disabled = qRgb(0xcf, 0xce, 0xb9);
        const QPoint beside = desk.placeOf(control::kSetTime) - QPoint(40, 0);
        desk.screen.waitForPixel(beside, disabled);
        waitUntil("the button", [&] { return !sameColour(desk.screen.pixel(beside), disabled); });
    };
    desk.tab(control::kMoreTime.tabs);
    for (const auto &[minutes, low] :
         {std::pair{"0", "00"}, {"1", "01"}, {"45", "2d"}, {"255", "ff"}, {"256", "00"}, {"300", "2c"}}) {
        desk.retype(minutes);
        desk.click(control::kSetTime);
        desk.click(control::kSetTime);
        expected += report(low);
        waitUntil("a timer report", [&] { return sets().size() >= expected.size(); });
        restsUntilEnabled();
        EXPECT_EQ(sets(), expected);
        desk.hand.tapKey(kKeyTab, kKeyShift); // Back to the number.
    }
    desk.click(control::kLessTime);
    desk.click(control::kLessTime);
    desk.click(control::kMoreTime);
    desk.click(control::kSetTime);
    expected += report("2b");
    waitUntil("a timer report", [&] { return sets().size() >= expected.size(); });
    EXPECT_EQ(sets(), expected);
    EXPECT_EQ(desk.stored("LOCAL_TIMEVALUE"), "1") << "never stored";
}

TEST(SettingsLanguage, FirstChoiceOfAFreshStoreIsGermanAndTheHintFollowsTheSecond) {
    const auto hint = [](SettingsDesk &desk) {
        for (int i = 0; i < 2; ++i)
            desk.companion.pressOnce("01"); // To the laser dot.
        return desk.screen.settled().copy(kHint);
    };
    SettingsDesk spanish(Settings{{"SYSTEM_LANGUAGEINDEX", "10"}});
    SettingsDesk english(kEnglish);
    const QImage inSpanish = hint(spanish);
    const QImage inEnglish = hint(english);
    ASSERT_NE(inSpanish, inEnglish);

    SettingsDesk desk;
    const auto window = desk.open();
    EXPECT_EQ(desk.stored("SYSTEM_LANGUAGEINDEX"), "");
    const auto chooseByMouse = [&](int index) {
        desk.click(control::kLanguage);
        QRect list;
        waitUntil("the list of languages", [&] {
            list = desk.areaOf(desk.stack().back());
            return list.height() > 200 && list.height() < 500;
        });
        const QPoint item(list.center().x(), list.top() + list.height() * (2 * index + 1) / 24);
        desk.hand.move(item);
        desk.screen.waitForPixel({list.right() - 20, item.y()}, kSelectedColour);
        desk.hand.click();
    };
    chooseByMouse(10);
    desk.expectStored("SYSTEM_LANGUAGEINDEX", "0");
    const QImage german = desk.screen.settled().copy(desk.areaOf(window));
    chooseByMouse(10);
    desk.expectStored("SYSTEM_LANGUAGEINDEX", "10");
    EXPECT_NE(desk.screen.settled().copy(desk.areaOf(window)), german);
    EXPECT_EQ(desk.companion.logCount("选中语言:10"), 2);
    desk.moveTo(window, {0, 200});
    EXPECT_EQ(hint(desk), inSpanish);

    desk.hand.tapKey(kKeyDown);
    desk.expectStored("SYSTEM_LANGUAGEINDEX", "11");
}

} // namespace
} // namespace companion::rig
