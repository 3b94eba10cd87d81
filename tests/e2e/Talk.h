#pragma once

#include "support/rig/CompanionProcess.h"
#include "support/rig/InputDevices.h"
#include "support/rig/Screen.h"
#include "support/rig/TestWindow.h"

#include <functional>
#include <string>

namespace companion::rig {

inline constexpr QRgb kSlideColour = qRgb(0x33, 0x66, 0x99);

// Rows at the top of the screen that no effect but the lens reaches.
inline constexpr int kFreeRows = 8;

// How long the effect may last from the key's release to the plain slide. The program hears of the release at
// its next poll.
inline constexpr milliseconds kReleaseLimit = 500ms + 100ms;

inline const Settings kSpotlight{
    {"LOCAL_MOUSETYPE", "1"}, {"LOCAL_MOUSESIZEVALUE", "100"}, {"LOCAL_BACKALPHA", "0.6"}};
inline const Settings kLaser{
    {"LOCAL_MOUSETYPE", "2"}, {"LOCAL_MOUSESIZEVALUE", "100"}, {"LOCAL_FRONTALPHA", "0.8"}};
inline constexpr QRgb kDimmed = qRgb(0x14, 0x29, 0x3D); // The slide under that spotlight's black.

// Whether a pixel of the screen is as it should be.
using Look = std::function<bool(int x, int y, QRgb seen)>;

// The colour that is seen where another one lies over it.
QRgb blend(QRgb below, QRgb over, double alpha);
// Whether every channel lies between those of two colours: the smooth rim of a disc.
bool between(QRgb seen, QRgb a, QRgb b);

// The round effect around a pointer at a pixel: the box of its disc.
struct Disc {
    Disc(QPoint pointer, int size);

    double radius() const { return box.width() / 2.0; }
    // Of a pixel's middle from the disc's middle.
    double distance(int x, int y) const;

    QRect box;
};

// `inside` and `outside` the disc; on the rim between them anything between the two.
Look discLook(const Disc &disc, QRgb inside, QRgb outside);
Look plainLook(QRgb colour);
// Every pixel differs from its neighbours, and none is near white.
QImage noise(const QSize &size, std::uint32_t seed);

// A lens of a size at a pointer, both in pixels: `still` enlarged inside, `behind` around it. The zoom is in
// tenths; only whole magnifications exist. The ring is white.
Look lensLook(QPoint pointer, int size, int zoom, const QImage &still, const QImage &behind,
              int ringWidth = 2);

Look pictureLook(const QImage &picture);

// A talk on a desktop of its own: a slide of one colour on all of the screen, and the program over it.
class Talk {
public:
    explicit Talk(const Settings &settings, const DesktopOptions &desktop = {.size = {800, 600}});
    Talk(const CompanionProcess::Options &program, const DesktopOptions &desktop);

    // Waits until the whole screen looks so; returns how long that took. The failure tells which pixels did
    // not.
    milliseconds expectLook(const std::string &what, const Look &look, milliseconds limit = kPatience) const;
    // For as long as given, at every look.
    void expectLookStays(const std::string &what, const Look &look, milliseconds time) const;
    milliseconds expectPlainSlide(milliseconds limit = kPatience) const;
    bool effectSeen() const;
    // Moves the mouse there, and waits for kSpotlight's disc around it on this monitor, or all of the screen,
    // and nothing elsewhere.
    void expectSpotlight(QPoint at, const QRect &monitor = {}, double scale = 1);
    // A click there reaches the slide.
    void expectFree(QPoint at);

    Desktop desktop;
    Screen screen;
    InputDevices hand;
    TestWindow slide;
    CompanionProcess companion;
};

} // namespace companion::rig
