// Every control of the settings window, by mouse and by keyboard, and what it does to the file and the
// receiver.
#include "e2e/SettingsDesk.h"

#include <gtest/gtest.h>

namespace companion::rig {
namespace {

TEST(SettingsControls, ChangeTheFileAtOnceWhenUsedWithTheMouse) {
    SettingsDesk desk(english({{"LOCAL_BACKALPHA", "0.5"}})); // Where it can be dragged from.
    desk.open();
    for (const std::size_t type : {3U, 1U, 2U, 2U, 0U}) {
        desk.click(control::kModes[type]);
        desk.expectStored("LOCAL_MOUSETYPE", std::to_string(type));
        desk.expectMode(type);
    }
    desk.drag(control::kBackAlphaSlider, 250);
    desk.expectStored("LOCAL_BACKALPHA", "1");
    desk.clickInto(control::kBackAlphaNumber);
    desk.retype("35");
    desk.expectStored("LOCAL_BACKALPHA", "0.3499999940395355");
    desk.hand.click(4); // The wheel, upwards.
    desk.expectStored("LOCAL_BACKALPHA", "0.36000001430511475");
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

TEST(SettingsControls, SendTheTimerOnceForAPressOfTheButtonAndNeverStoreIt) {
    SettingsDesk desk(kEnglish);
    desk.open();
    desk.tab(control::kMoreTime.tabs);
    desk.retype("300");
    for (const Control &each : {control::kLessTime, control::kLessTime, control::kMoreTime, control::kSetTime,
                                control::kSetTime}) // Twice within the button's rest.
        desk.click(each);
    waitUntil("a timer report", [&] { return !desk.companion.receiver("sets").empty(); });
    letTimePass(200ms);
    EXPECT_EQ(desk.companion.receiver("sets"), "122b" + std::string(62 * 2, '0')); // The low byte of 299.
    EXPECT_EQ(desk.stored("LOCAL_TIMEVALUE"), "1");
}

TEST(SettingsLanguage, FirstChoiceOfAFreshStoreIsGermanAndTheHintFollowsTheSecond) {
    SettingsDesk desk(Settings{{"LOCAL_MOUSETYPE", "1"}});
    const auto hintOfTheDot = [&] {
        desk.companion.pressOnce("01");
        return desk.screen.settled().copy(kHint);
    };
    const QImage before = hintOfTheDot();
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
    desk.hand.tapKey(kKeyDown);
    desk.expectStored("SYSTEM_LANGUAGEINDEX", "11");
    desk.hand.tapKey(kKeyEscape);
    for (int i = 0; i < 3; ++i)
        desk.companion.pressOnce("01");
    EXPECT_NE(hintOfTheDot(), before);
}

} // namespace
} // namespace companion::rig
