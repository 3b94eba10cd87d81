// What happens to a desktop while the effect is on: monitors, lock screens, suspend, the end of its server.
#include "e2e/SettingsDesk.h"
#include "e2e/Talk.h"

#include <gtest/gtest.h>

#include <csignal>
#include <future>

namespace companion::rig {
namespace {

constexpr QRgb kLockColour = qRgb(0x40, 0x00, 0x40);

struct Change {
    const char *name;
    std::vector<QRect> before; // The monitors, the main one first.
    void (*change)(Desktop &desktop);
    QRect mainAfter;
};

const Change kChanges[] = {
    {"TheMainMonitorGoes",
     {{0, 0, 400, 600}, {400, 0, 400, 600}},
     [](Desktop &desktop) { desktop.setMonitors({QRect(400, 0, 400, 600)}); },
     {400, 0, 400, 600}},
    {"TheScreenIsRotated",
     {},
     [](Desktop &desktop) {
         desktop.setSize({600, 800});
     },
     {0, 0, 600, 800}},
    {"MonitorsChangePlaces",
     {{0, 0, 400, 600}, {400, 0, 400, 600}},
     [](Desktop &desktop) {
         desktop.setMonitors({QRect(400, 100, 400, 500), QRect(0, 0, 400, 600)});
     },
     {400, 100, 400, 500}},
};

class WhileTheEffectIsOn : public ::testing::TestWithParam<Change> {};

TEST_P(WhileTheEffectIsOn, TheEffectEndsCleanAndTheNextOneFits) {
    const Change &change = GetParam();
    Talk talk(kSpotlight, {.size = {800, change.before.empty() ? 800 : 600}, .monitors = change.before});
    talk.companion.effectOn();
    talk.hand.move({420, 200});
    letTimePass(100ms);
    change.change(talk.desktop);
    talk.hand.move({430, 210}); // In the middle of it all.

    talk.companion.receiver("event 00");
    EXPECT_LT(talk.expectPlainSlide(), kReleaseLimit);
    letTimePass(300ms); // The effect's own last click.
    const QPoint inside = change.mainAfter.center();
    talk.expectFree(inside);

    talk.companion.effectOn();
    talk.expectSpotlight(inside, change.mainAfter);
    talk.companion.effectOff();
    talk.expectPlainSlide();
    talk.expectFree(inside);
}

INSTANTIATE_TEST_SUITE_P(Changes, WhileTheEffectIsOn, ::testing::ValuesIn(kChanges),
                         [](const auto &change) { return std::string(change.param.name); });

// As lock programs do it: a window above all others, and mouse and keyboard for itself.
class LockScreen {
public:
    explicit LockScreen(const Desktop &desktop)
        : m_window(desktop, TestWindow::Kind::OverrideRedirect, kLockColour,
                   QRect(QPoint(0, 0), desktop.size())),
          m_connection(desktop.display()) {
        const auto pointer = m_connection.reply(
            xcb_grab_pointer_reply,
            xcb_grab_pointer(m_connection, 0, m_connection.root(), XCB_EVENT_MASK_BUTTON_PRESS,
                             XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME));
        const auto keyboard = m_connection.reply(
            xcb_grab_keyboard_reply, xcb_grab_keyboard(m_connection, 0, m_connection.root(), XCB_CURRENT_TIME,
                                                       XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        if (!pointer || pointer->status != XCB_GRAB_STATUS_SUCCESS || !keyboard ||
            keyboard->status != XCB_GRAB_STATUS_SUCCESS)
            throw std::runtime_error("the lock screen did not get mouse and keyboard");
    }

private:
    TestWindow m_window;
    XConnection m_connection; // Its end lets go of both.
};

TEST(ScreenLock, EndsWithNothingOfOursLeft) {
    Talk talk(kSpotlight);
    talk.companion.effectOn();
    talk.expectSpotlight({200, 200});
    {
        const LockScreen lock(talk.desktop);
        talk.companion.effectOff();
        talk.companion.effectOn(); // Somebody plays with the presenter meanwhile.
        talk.hand.move({300, 200});
        talk.companion.effectOff();
        talk.expectLook("the lock screen alone", plainLook(kLockColour));
    }
    talk.expectPlainSlide();
    talk.expectFree({210, 210});
    talk.companion.effectOn();
    talk.expectSpotlight({250, 250});
}

// The clock moves on while the program does not, and timers of two seconds are due at once.
TEST(Suspend, EndsTheEffectOfAKeyThatWasLetGoMeanwhile) {
    Talk talk(kSpotlight);
    const auto sleepWhile = [&](const char *command) {
        talk.companion.process().signal(SIGSTOP);
        auto told = std::async(std::launch::async, [&] { talk.companion.receiver(command); });
        letTimePass(2s);
        talk.companion.process().signal(SIGCONT);
        told.get();
    };
    talk.companion.effectOn();
    sleepWhile("event 10"); // Held all the time: off, for the last poll is long ago, and on again.
    letTimePass(500ms);
    talk.expectSpotlight({200, 200});
    for (const char *command : {"event 00", "unplug"}) {
        sleepWhile(command);
        EXPECT_LT(talk.expectPlainSlide(), kReleaseLimit) << command;
        letTimePass(300ms);
        talk.expectFree({210, 210});
        talk.companion.receiver("plug");
        talk.companion.effectOn();
        talk.expectSpotlight({250, 250});
    }
    talk.companion.effectOff();
    talk.expectPlainSlide();
}

class ServerDeath : public ::testing::TestWithParam<const char *> {};

TEST_P(ServerDeath, EndsTheProgramWithOneMessage) {
    const std::string state = GetParam();
    SettingsDesk desk(english(kSpotlight));
    if (state == "WithTheSettingsWindow")
        desk.open();
    if (state == "WithAnEffect") {
        desk.companion.effectOn();
        desk.hand.move({300, 300});
    }
    letTimePass(200ms);
    const auto before = desk.companion.log().size();
    desk.desktop.stopServer();
    EXPECT_EQ(desk.companion.process().waitForExit(1s), 1);
    auto lines = desk.companion.log();
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(before));
    std::erase_if(lines, [](const auto &line) { // A poll of the held key may have come in between.
        return line.text.starts_with("获得数据") || line.text == "()";
    });
    ASSERT_EQ(lines.size(), 1U) << desk.companion.process().err();
    EXPECT_EQ(lines.front().text, "the X server has gone; the program ends");
}

INSTANTIATE_TEST_SUITE_P(States, ServerDeath,
                         ::testing::Values("Idle", "WithAnEffect", "WithTheSettingsWindow"),
                         [](const auto &state) { return std::string(state.param); });

} // namespace
} // namespace companion::rig
