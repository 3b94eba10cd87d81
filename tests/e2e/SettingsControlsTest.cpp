// Every control of the settings window, by mouse and by keyboard, and what it does to the file and the
// receiver.
#include "e2e/SettingsDesk.h"

#include <gtest/gtest.h>

#include <utility>

namespace companion::rig {
namespace {

TEST(SettingsControls, ChangeTheFileAtOnceWhenUsedWithTheMouse) {
    SettingsDesk desk(english({{"LOCAL_BACKALPHA", "0.5"}})); // Where it can be dragged from.
    desk.open();
    for (const std::size_t type : {3U, 1U, 2U, 2U, 0U}) {
        desk.click(control::kModes[type]);
        desk.expectStored("LOCAL_MOUSETYPE", std::to_string(type));
    }
    desk.drag(control::kBackAlphaSlider, 250);
    desk.expectStored("LOCAL_BACKALPHA", "1");
}

TEST(SettingsControls, ChangeTheFileAtOnceWhenUsedWithTheKeyboardAlone) {
    const struct {
        Control control;
        Key key;
        const char *setting;
        const char *value;
    } steps[] = {
        {control::kModes[0], kKeyRight, "LOCAL_MOUSETYPE", "0"}, // The keyboard moves there, and no more.
        {control::kModes[1], kKeySpace, "LOCAL_MOUSETYPE", "1"},
        {control::kModes[1], kKeyDown, "LOCAL_MOUSETYPE", "1"},
        {control::kModes[3], kKeyReturn, "LOCAL_MOUSETYPE", "3"},
        {control::kSizeSlider, kKeyEnd, "LOCAL_MOUSESIZEVALUE", "250"},
        {control::kSizeSlider, kKeyHome, "LOCAL_MOUSESIZEVALUE", "50"},
        {control::kZoomSlider, kKeyEnd, "LOCAL_MOUSEROOMVALUE", "100"},
        {control::kZoomSlider, kKeyHome, "LOCAL_MOUSEROOMVALUE", "0"},
        {control::kZoomSlider, kKeyRight, "LOCAL_MOUSEROOMVALUE", "10"}, // Whole magnifications.
        {control::kBackAlphaSlider, kKeyEnd, "LOCAL_BACKALPHA", "1"},
        {control::kFrontAlphaSlider, kKeyHome, "LOCAL_FRONTALPHA", "0"},
        {control::kLanguage, kKeyDown, "SYSTEM_LANGUAGEINDEX", "2"},
    };
    SettingsDesk desk(kEnglish);
    desk.open();
    int at = 0;
    for (const auto &[control, key, setting, value] : steps) {
        desk.tab(control.tabs - std::exchange(at, control.tabs));
        desk.hand.tapKey(key);
        desk.expectStored(setting, value);
    }
    EXPECT_EQ(desk.stored("LOCAL_MOUSESPEEDVALUE"), "50") << "no key leads to it";
}

TEST(SettingsControls, ColourDialogBlocksNothingAndChangesSomethingByItsOkAlone) {
    SettingsDesk desk(kEnglish);
    const auto window = desk.open();
    desk.moveTo(window, {0, 30});
    desk.click(control::kFrontColor);
    const auto dialog = desk.awaitDialog();
    desk.moveTo(dialog, {490, 300});
    desk.hand.tapKey(kKeyH, kKeyAlt);
    desk.retype("#009933");
    // Other controls and the presenter's keys go on while it is open.
    desk.click(control::kModes[2]);
    desk.expectStored("LOCAL_MOUSETYPE", "2");
    desk.companion.pressOnce("01");
    desk.expectStored("LOCAL_MOUSETYPE", "3");
    desk.hand.clickAt(desk.areaOf(dialog).topLeft() + QPoint(150, 8)); // Its own keyboard again.
    waitUntil("its keyboard", [&] { return desk.activeWindow() == dialog; });
    desk.hand.tapKey(kKeyEscape);
    desk.awaitNoDialog();
    desk.click(control::kModes[1]);
    desk.expectStored("LOCAL_MOUSETYPE", "1");
    EXPECT_EQ(desk.stored("LOCAL_FRONTCOLOR"), "srgb 1 0 0 1");
    desk.click(control::kBackColor);
    desk.awaitDialog();
    desk.hand.tapKey(kKeyH, kKeyAlt);
    desk.retype("#336699");
    desk.hand.tapKey(kKeyReturn);
    desk.expectStored("LOCAL_BACKCOLOR", "srgb 0.2 0.4 0.6 1");
}

TEST(SettingsControls, SendTheTimerOnceForAPressOfTheButtonAndNeverStoreIt) {
    SettingsDesk desk(kEnglish);
    desk.open();
    for (const Control &each : {control::kMoreTime, control::kSetTime, control::kSetTime})
        desk.click(each); // The button twice within its rest.
    waitUntil("a timer report", [&] { return !desk.companion.receiver("sets").empty(); });
    letTimePass(200ms);
    EXPECT_EQ(desk.companion.receiver("sets"), "121f" + std::string(62 * 2, '0')); // It begins with 30.
    EXPECT_EQ(desk.stored("LOCAL_TIMEVALUE"), "1");
}

TEST(SettingsLanguage, ChangesTheWindowAtOnceAndTheHintFollows) {
    SettingsDesk desk(english({{"LOCAL_MOUSETYPE", "1"}}));
    const auto hintOfTheDot = [&] {
        desk.companion.pressOnce("01");
        return desk.screen.settled().copy(kHint);
    };
    const QImage before = hintOfTheDot();
    const auto window = desk.open();
    const QImage english = desk.screen.settled().copy(desk.areaOf(window));
    desk.tab(control::kLanguage.tabs);
    desk.hand.tapKey(kKeyDown);
    desk.expectStored("SYSTEM_LANGUAGEINDEX", "2");
    EXPECT_NE(desk.screen.settled().copy(desk.areaOf(window)), english);
    desk.hand.tapKey(kKeyEscape);
    for (int i = 0; i < 3; ++i)
        desk.companion.pressOnce("01");
    EXPECT_NE(hintOfTheDot(), before);
}

} // namespace
} // namespace companion::rig
