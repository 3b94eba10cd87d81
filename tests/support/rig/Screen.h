#pragma once

#include "support/rig/Desktop.h"

#include <QImage>
#include <QRect>

#include <functional>
#include <string>

namespace companion::rig {

// What a person sees on a desktop, without the cursor: read from the server after compositing.
class Screen {
public:
    explicit Screen(const Desktop &desktop);

    QImage grab() const; // The whole screen.
    QImage grab(const QRect &area) const;
    QRgb pixel(QPoint at) const;

    // Grabs until the picture pleases; returns how long that took. A picture that never does is kept as a
    // PNG file that the exception names.
    milliseconds waitFor(const std::string &what, const QRect &area,
                         const std::function<bool(const QImage &)> &pleases,
                         milliseconds limit = kPatience) const;
    milliseconds waitForPixel(QPoint at, QRgb colour, milliseconds limit = kPatience) const;
    // The whole screen, once nothing has changed on it for 60 ms.
    QImage settled() const;

    // Whether the server draws a cursor at the pointer. On Wayland: a cursor of the program's, over an area
    // of one colour; the slide has none.
    bool cursorVisible() const;

private:
    const Desktop &m_desktop;
    XConnection m_connection;
};

// Within one step in each channel, which is what rounding may differ by.
bool sameColour(QRgb a, QRgb b, int tolerance = 1);

// Keeps a picture of a failed check; returns its path. The folder is in COMPANION_TEST_PICTURES, or
// "test-pictures" in the current folder.
std::string keepPicture(const QImage &picture, const std::string &name);

} // namespace companion::rig
