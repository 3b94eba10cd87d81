#pragma once

#include "support/rig/Desktop.h"

#include <QPoint>

#include <cstdint>
#include <string>

namespace companion::rig {

// Keys by their position on the keyboard, as X keycodes.
enum Key : std::uint8_t {
    kKeyEscape = 9,
    kKeyTab = 23,
    kKeyReturn = 36,
    kKeyControl = 37,
    kKeyA = 38,
    kKeyH = 43,
    kKeyShift = 50,
    kKeyB = 56,
    kKeyAlt = 64,
    kKeySpace = 65,
    kKeyF5 = 71,
    kKeyHome = 110,
    kKeyUp = 111,
    kKeyPageUp = 112,
    kKeyLeft = 113,
    kKeyRight = 114,
    kKeyEnd = 115,
    kKeyDown = 116,
    kKeyPageDown = 117,
};

// The hand on mouse and keyboard. Events go in through the test extension: they raise raw events as those of
// real devices do. Each operation returns when the server has taken it.
class InputDevices {
public:
    explicit InputDevices(const Desktop &desktop)
        : m_wayland(desktop.wayland()),
          m_connection(desktop.display()) {}

    void move(QPoint to);
    void press(std::uint8_t button = 1);
    void release(std::uint8_t button = 1);
    void click(std::uint8_t button = 1);
    void clickAt(QPoint at);
    void tapKey(std::uint8_t keycode, std::uint8_t heldKey = 0); // On sway without Shift's effect.
    // Digits and #, on a keyboard of the usual American kind.
    void type(const std::string &text);
    QPoint pointer() const { return m_wayland ? m_wayland->client().pointer() : m_connection.pointer(); }

private:
    void key(std::uint8_t keycode, bool press);
    void fake(std::uint8_t type, std::uint8_t detail, QPoint at = {});

    WaylandSession *m_wayland; // Null on X.
    XConnection m_connection;
};

} // namespace companion::rig
