// One talk on each of the desktops that people run, and what their window managers and compositors make of
// it.
#include "e2e/SettingsDesk.h"
#include "e2e/Talk.h"

#include <QPainter>

#include <gtest/gtest.h>

#include <ostream>

namespace companion::rig {
namespace {

constexpr QRgb kTicks[] = {qRgb(0xE0, 0x20, 0x20), qRgb(0x20, 0xE0, 0x20), qRgb(0x20, 0x20, 0xE0)};
constexpr milliseconds kBetweenTicks = 100ms;
constexpr milliseconds kTickLimit = 500ms;
constexpr milliseconds kAppearLimit = 700ms; // From the key to its poll, and to the picture in software.
constexpr milliseconds kTwoFrames = 80ms;    // With what such a picture takes; a fade takes longer.
constexpr milliseconds kHintLimit = 3s + 1s;

const Settings kNormal{{"LOCAL_MOUSETYPE", "0"}, {"LOCAL_BACKALPHA", "0.6"}, {"LOCAL_FRONTALPHA", "0.8"}};

constexpr int kSize = 150; // After a step of the mode.

constexpr QPoint kFree(60, 700); // Far from the centre, the hint and each effect.

struct DesktopCase {
    const char *name;
    WindowManager manager;
    bool compositor = false;
    const char *compositorSettings = "";

    friend std::ostream &operator<<(std::ostream &out, const DesktopCase &each) { return out << each.name; }
};

WindowManager composing(const Command &command) {
    Command onItsBus{"dbus-run-session", "--"};
    onItsBus.insert(onItsBus.end(), command.begin(), command.end());
    return {onItsBus, true};
}

const WindowManager kTiling{{"i3", "-c", "/dev/null"}};

class TalkOn : public ::testing::TestWithParam<DesktopCase> {
protected:
    TalkOn()
        : talk(kNormal, {.compositor = GetParam().compositor,
                         .manager = GetParam().manager,
                         .compositorSettings = GetParam().compositorSettings}) {}

    // The slide changes there ten times a second, and so does what is seen there.
    void expectLive(const std::string &when, QPoint at) {
        for (const QRgb colour : kTicks) {
            talk.slide.fill(QRect(at - QPoint(5, 5), QSize(10, 10)), colour);
            EXPECT_NO_THROW(talk.screen.waitForPixel(at, colour, kTickLimit)) << "not live " << when;
            letTimePass(kBetweenTicks);
        }
        talk.slide.fill(QRect(at - QPoint(5, 5), QSize(10, 10)), kSlideColour);
        EXPECT_NO_THROW(talk.screen.waitForPixel(at, kSlideColour, kTickLimit)) << "not live " << when;
    }

    // That place becomes what it is to be soon, and without steps on the way.
    void expectAtOnce(const std::string &what, QPoint at, const std::function<bool(QRgb)> &pleases) {
        const QRect pixel(at, QSize(1, 1));
        const QRgb before = kSlideColour;
        EXPECT_NO_THROW(talk.screen.waitFor(
            what, pixel, [&](const QImage &seen) { return !sameColour(seen.pixel(0, 0), before, 0); },
            kAppearLimit));
        EXPECT_NO_THROW(talk.screen.waitFor(
            what + " at full strength", pixel, [&](const QImage &seen) { return pleases(seen.pixel(0, 0)); },
            kTwoFrames));
    }

    void expectAtOnce(const std::string &what, QPoint at, QRgb colour) {
        expectAtOnce(what, at, [colour](QRgb seen) { return sameColour(seen, colour, 2); });
    }

    void expectNothingLeft(const std::string &of, milliseconds limit) {
        EXPECT_NO_THROW(talk.expectPlainSlide(limit)) << "left of " << of;
        EXPECT_TRUE(talk.slide.focused()) << of;
        EXPECT_EQ(taskBar(), tasks) << of;
    }

    // Holds the effect key over an effect that makes `seen` of the pixel `at`.
    void expectEffect(const std::string &name, QPoint at, const std::function<bool(QRgb)> &seen,
                      const std::function<void()> &look) {
        SCOPED_TRACE(name);
        talk.companion.receiver("event 10");
        expectAtOnce(name, at, seen);
        letTimePass(300ms); // Its click is over.
        look();
        talk.slide.forget();
        talk.hand.clickAt(kFree);
        letTimePass(50ms);
        EXPECT_TRUE(talk.slide.buttons().empty()) << "a click during the effect";
        EXPECT_TRUE(talk.slide.focused());
        talk.companion.effectOff();
    }

    QImage plain(QRgb colour) const {
        QImage slide(talk.desktop.size(), QImage::Format_RGB32);
        slide.fill(colour);
        return slide;
    }

    void turnSlideTo(const QImage &slide) {
        talk.slide.setPicture(slide);
        talk.hand.tapKey(kKeyPageDown);
    }

    std::string taskBar() const {
        return talk.desktop.connection().property(talk.desktop.connection().root(), "_NET_CLIENT_LIST");
    }

    Talk talk;
    const std::string tasks = taskBar();
};

TEST_P(TalkOn, ShowsEverythingAtOnceOverALiveSlideAndLeavesNothingOfIt) {
    const QRgb hint = blend(kSlideColour, qRgb(255, 255, 255), 0.8);
    const QPoint centre = talk.desktop.centre();
    const QPoint paper(kHint.left() + 4, kHint.center().y());
    expectLive("before any effect", kFree);

    talk.companion.receiver("once 01");
    expectAtOnce("the hint", paper, hint);
    expectLive("beside the hint", kFree);
    expectNothingLeft("the hint", kHintLimit);

    expectEffect(
        "spotlight", kFree, [](QRgb seen) { return sameColour(seen, kDimmed, 2); },
        [&] {
            const QPoint at = centre + QPoint(-120, 40);
            talk.hand.move(at);
            EXPECT_NO_THROW(talk.expectLook(
                "a disc",
                [disc = discLook(Disc(at, kSize), kSlideColour, kDimmed)](int x, int y, QRgb seen) {
                    return y < kFreeRows ? sameColour(seen, kSlideColour, 0) : disc(x, y, seen);
                },
                kAppearLimit));
            expectLive("in the spotlight", at);
            for (const QRgb slide : {qRgb(0x99, 0x33, 0x66), kSlideColour}) {
                turnSlideTo(plain(slide));
                EXPECT_NO_THROW(talk.screen.waitForPixel(kFree, blend(slide, qRgb(0, 0, 0), 0.6), 1s))
                    << "around the spotlight";
            }
        });
    expectNothingLeft("the spotlight", kReleaseLimit);
    talk.expectFree(kFree);

    talk.companion.receiver("once 01");
    expectEffect(
        "laser", centre,
        [](QRgb seen) { return sameColour(seen, blend(kSlideColour, qRgb(255, 0, 0), 0.8), 2); },
        [&] { expectLive("beside the laser", kFree); });
    expectNothingLeft("the laser", kHintLimit);
    talk.expectFree(kFree);

    talk.companion.receiver("once 01");
    QImage slide = plain(kSlideColour);
    QPainter(&slide).fillRect(QRect(centre - QPoint(5, 5), QSize(10, 10)), QColor::fromRgb(kTicks[0]));
    talk.slide.setPicture(slide);
    const QPoint enlarged = centre + QPoint(12, 12); // Beyond that square, but for a lens.
    expectEffect(
        "magnifier", enlarged, [](QRgb seen) { return sameColour(seen, kTicks[0], 0); },
        [&] { expectLive("beside the magnifier", kFree); });
    talk.slide.setPicture(plain(kSlideColour));
    expectNothingLeft("the magnifier", kHintLimit);
    talk.expectFree(kFree);
    expectLive("after the effects", kFree);

    const Ended settings = runCompanion({"--settings"}, talk.desktop.environment());
    EXPECT_EQ(settings.status, 0) << settings.err;
    EXPECT_NO_THROW(talk.screen.waitFor(
        "the settings above a full-screen window", QRect(QPoint(), talk.desktop.size()),
        [](const QImage &seen) {
            int pixels = 0;
            for (int y = 0; y < seen.height(); y += 4)
                for (int x = 0; x < seen.width(); x += 4)
                    pixels += sameColour(seen.pixel(x, y), kSettingsColour) ? 1 : 0;
            return pixels > 4000; // Of 49152 on all of the screen.
        },
        1s));
    const QRect all(QPoint(), talk.desktop.size());
    EXPECT_EQ(talk.desktop.connection().areaOf(talk.slide.id()), all) << "no longer full-screen";
}

INSTANTIATE_TEST_SUITE_P(
    Desktops, TalkOn,
    ::testing::Values(DesktopCase{"OpenboxPicom", {}, true},
                      DesktopCase{"OpenboxPicomFading",
                                  {},
                                  true,
                                  "fading = true; fade-in-step = 0.03; fade-out-step = 0.03; shadow = true;"},
                      DesktopCase{"Xfwm4", composing({"xfwm4"})},
                      DesktopCase{"KWin", composing({"kwin_x11"})},
                      DesktopCase{"Mutter", composing({"mutter", "--x11"})},
                      DesktopCase{"Marco", composing({"marco"})}, DesktopCase{"I3", kTiling},
                      DesktopCase{"I3Picom", kTiling, true}),
    [](const auto &each) { return std::string(each.param.name); });

} // namespace
} // namespace companion::rig
