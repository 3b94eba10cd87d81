#pragma once

#include <QPoint>
#include <QSize>

#include <cstdint>

struct org_kde_kwin_fake_input;
struct wl_seat;
struct zwlr_virtual_pointer_manager_v1;
struct zwlr_virtual_pointer_v1;
struct zwp_virtual_keyboard_manager_v1;
struct zwp_virtual_keyboard_v1;

namespace companion::rig {

// A mouse and a keyboard of a compositor's, as programs may have them. Requests are queued on the
// connection; it lasts no longer than that.
class WaylandHand {
public:
    // The first two, or the third; what a compositor does not have is null.
    struct Means {
        zwlr_virtual_pointer_manager_v1 *pointers = nullptr;
        zwp_virtual_keyboard_manager_v1 *keyboards = nullptr;
        org_kde_kwin_fake_input *feigned = nullptr;
        wl_seat *seat = nullptr;
    };
    explicit WaylandHand(const Means &means);

    // Buttons and keys are numbered as X does.
    void move(QPoint to, const QSize &screen, double scale); // Device pixels.
    void button(int number, bool press);
    void key(std::uint8_t keycode, bool press); // Shift and its kin are keys as others, and change none.

    static int buttonNumber(std::uint32_t code); // 0: one that the hand does not have.
    static constexpr int kFirstKeycode = 8;      // X's, of the system's key 0.

private:
    Means m_means;
    zwlr_virtual_pointer_v1 *m_pointer = nullptr;
    zwp_virtual_keyboard_v1 *m_keyboard = nullptr;
};

} // namespace companion::rig
