#include "support/rig/InputDevices.h"

#include <xcb/xtest.h>

namespace companion::rig {

void InputDevices::fake(std::uint8_t type, std::uint8_t detail, QPoint at) {
    xcb_test_fake_input(m_connection, type, detail, XCB_CURRENT_TIME, m_connection.root(),
                        static_cast<std::int16_t>(at.x()), static_cast<std::int16_t>(at.y()), 0);
    m_connection.sync();
}

void InputDevices::move(QPoint to) {
    fake(XCB_MOTION_NOTIFY, 0, to); // Detail 0: absolute.
}

void InputDevices::press(int button) {
    fake(XCB_BUTTON_PRESS, static_cast<std::uint8_t>(button));
}

void InputDevices::release(int button) {
    fake(XCB_BUTTON_RELEASE, static_cast<std::uint8_t>(button));
}

void InputDevices::click(int button) {
    press(button);
    release(button);
}

void InputDevices::clickAt(QPoint at) {
    move(at);
    click();
}

void InputDevices::tapKey(std::uint8_t keycode) {
    fake(XCB_KEY_PRESS, keycode);
    fake(XCB_KEY_RELEASE, keycode);
}

} // namespace companion::rig
