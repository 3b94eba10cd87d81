#include "support/rig/InputDevices.h"

#include <xcb/xtest.h>

#include <string_view>

namespace companion::rig {

void InputDevices::fake(std::uint8_t type, std::uint8_t detail, QPoint at) {
    xcb_test_fake_input(m_connection, type, detail, XCB_CURRENT_TIME, m_connection.root(),
                        static_cast<std::int16_t>(at.x()), static_cast<std::int16_t>(at.y()), 0);
    m_connection.sync();
}

void InputDevices::move(QPoint to) {
    if (m_wayland != nullptr)
        m_wayland->client().move(to);
    else
        fake(XCB_MOTION_NOTIFY, 0, to); // Detail 0: absolute.
}

void InputDevices::press(std::uint8_t button) {
    if (m_wayland != nullptr)
        m_wayland->client().button(button, true);
    else
        fake(XCB_BUTTON_PRESS, button);
}

void InputDevices::release(std::uint8_t button) {
    if (m_wayland != nullptr)
        m_wayland->client().button(button, false);
    else
        fake(XCB_BUTTON_RELEASE, button);
}

void InputDevices::click(std::uint8_t button) {
    press(button);
    release(button);
}

void InputDevices::clickAt(QPoint at) {
    move(at);
    click();
}

void InputDevices::key(std::uint8_t keycode, bool press) {
    if (m_wayland != nullptr)
        m_wayland->client().key(keycode, press);
    else
        fake(press ? XCB_KEY_PRESS : XCB_KEY_RELEASE, keycode);
}

void InputDevices::tapKey(std::uint8_t keycode, std::uint8_t heldKey) {
    if (heldKey != 0)
        key(heldKey, true);
    key(keycode, true);
    key(keycode, false);
    if (heldKey != 0)
        key(heldKey, false);
}

void InputDevices::type(const std::string &text) {
    constexpr std::string_view keys = "1234567890";
    constexpr int firstDigit = 10;
    for (const char c : text) {
        if (c == '#')
            tapKey(firstDigit + 2, kKeyShift);
        else
            tapKey(static_cast<std::uint8_t>(firstDigit + keys.find(c)));
    }
}

} // namespace companion::rig
