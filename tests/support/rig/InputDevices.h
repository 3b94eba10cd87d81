#pragma once

#include "support/rig/Desktop.h"

#include <QPoint>

#include <cstdint>
#include <string>

namespace companion::rig {

// Keys by their position on the keyboard, as X keycodes.
inline constexpr std::uint8_t kKeyEscape = 9;
inline constexpr std::uint8_t kKeyTab = 23;
inline constexpr std::uint8_t kKeyReturn = 36;
inline constexpr std::uint8_t kKeyControl = 37;
inline constexpr std::uint8_t kKeyA = 38;
inline constexpr std::uint8_t kKeyH = 43;
inline constexpr std::uint8_t kKeyShift = 50;
inline constexpr std::uint8_t kKeyB = 56;
inline constexpr std::uint8_t kKeyAlt = 64;
inline constexpr std::uint8_t kKeySpace = 65;
inline constexpr std::uint8_t kKeyF5 = 71;
inline constexpr std::uint8_t kKeyHome = 110;
inline constexpr std::uint8_t kKeyUp = 111;
inline constexpr std::uint8_t kKeyPageUp = 112;
inline constexpr std::uint8_t kKeyRight = 114;
inline constexpr std::uint8_t kKeyEnd = 115;
inline constexpr std::uint8_t kKeyDown = 116;
inline constexpr std::uint8_t kKeyPageDown = 117;

// The hand on mouse and keyboard. Events go in through the test extension: they raise raw events as those of
// real devices do. Each operation returns when the server has taken it.
class InputDevices {
public:
    explicit InputDevices(const Desktop &desktop) : m_connection(desktop.display()) {}

    void move(QPoint to);
    void press(int button = 1);
    void release(int button = 1);
    void click(int button = 1);
    void clickAt(QPoint at);
    void tapKey(std::uint8_t keycode, std::uint8_t heldKey = 0);
    // Small hexadecimal digits and #, on a keyboard of the usual American kind.
    void type(const std::string &text);
    QPoint pointer() const { return m_connection.pointer(); }

private:
    void fake(std::uint8_t type, std::uint8_t detail, QPoint at = {});

    XConnection m_connection;
};

} // namespace companion::rig
