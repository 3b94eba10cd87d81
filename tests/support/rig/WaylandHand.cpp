#include "support/rig/WaylandHand.h"

#include <linux/input-event-codes.h>
#include <sys/mman.h>
#include <unistd.h>

#include <wayland-client.h>
#include <wayland-protocols/fake-input.h>
#include <wayland-protocols/virtual-keyboard-unstable-v1.h>
#include <wayland-protocols/wlr-virtual-pointer-unstable-v1.h>

#include <chrono>
#include <stdexcept>
#include <string_view>

namespace companion::rig {
namespace {

constexpr std::uint32_t kButtons[] = {BTN_LEFT, BTN_MIDDLE, BTN_RIGHT};

// An American keyboard, for whoever reads more than the keys' codes.
constexpr std::string_view kKeymap = R"keymap(xkb_keymap {
    xkb_keycodes { include "evdev+aliases(qwerty)"
};
xkb_types{include "complete"};
xkb_compat{include "complete"};
xkb_symbols{include "pc+us+inet(evdev)"};
};)keymap";

std::uint32_t milliseconds() {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
}

} // namespace

WaylandHand::WaylandHand(const Means &means) : m_means(means) {
    if (m_means.feigned != nullptr) {
        org_kde_kwin_fake_input_authenticate(m_means.feigned, "test", "test");
        return;
    }
    if (m_means.pointers == nullptr || m_means.keyboards == nullptr)
        throw std::runtime_error("the compositor lets no program have a mouse and a keyboard");
    m_pointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(m_means.pointers, m_means.seat);
    m_keyboard = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(m_means.keyboards, m_means.seat);
    const int file = memfd_create("keymap", MFD_CLOEXEC);
    const std::size_t size = kKeymap.size() + 1; // With the zero at its end.
    if (write(file, kKeymap.data(), size) != static_cast<ssize_t>(size))
        throw std::runtime_error("no memory for a keymap");
    zwp_virtual_keyboard_v1_keymap(m_keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file,
                                   static_cast<std::uint32_t>(size));
    close(file); // The request has a copy.
}

void WaylandHand::move(QPoint to, const QSize &screen, double scale) {
    if (m_pointer == nullptr)
        return org_kde_kwin_fake_input_pointer_motion_absolute(
            m_means.feigned, wl_fixed_from_double(to.x() / scale), wl_fixed_from_double(to.y() / scale));
    zwlr_virtual_pointer_v1_motion_absolute(
        m_pointer, milliseconds(), static_cast<std::uint32_t>(to.x()), static_cast<std::uint32_t>(to.y()),
        static_cast<std::uint32_t>(screen.width()), static_cast<std::uint32_t>(screen.height()));
    zwlr_virtual_pointer_v1_frame(m_pointer);
}

void WaylandHand::button(int number, bool press) {
    const std::uint32_t code = kButtons[number - 1];
    if (m_pointer == nullptr)
        return org_kde_kwin_fake_input_button(m_means.feigned, code, press ? 1 : 0);
    zwlr_virtual_pointer_v1_button(m_pointer, milliseconds(), code, press ? 1 : 0);
    zwlr_virtual_pointer_v1_frame(m_pointer);
}

void WaylandHand::key(std::uint8_t keycode, bool press) {
    const auto code = static_cast<std::uint32_t>(keycode - kFirstKeycode);
    if (m_keyboard == nullptr)
        return org_kde_kwin_fake_input_keyboard_key(m_means.feigned, code, press ? 1 : 0);
    zwp_virtual_keyboard_v1_key(m_keyboard, milliseconds(), code, press ? 1 : 0);
}

int WaylandHand::buttonNumber(std::uint32_t code) {
    int number = 0;
    for (const std::uint32_t each : kButtons) {
        ++number;
        if (each == code)
            return number;
    }
    return 0;
}

} // namespace companion::rig
