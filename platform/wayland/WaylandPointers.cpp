#include "platform/wayland/WaylandPointers.h"

#include <linux/input-event-codes.h>

#include <utility>

namespace companion {
namespace {

constexpr std::uint32_t kSeatVersion = 5; // Mice that can be let go.

unsigned bitOf(std::uint32_t button) {
    if (button == BTN_LEFT)
        return WaylandPointers::kLeft;
    return button == BTN_RIGHT ? WaylandPointers::kRight : WaylandPointers::kOther;
}

} // namespace

struct WaylandPointers::Seat {
    WaylandPointers &all;
    std::uint32_t global;
    WaylandPtr<wl_seat> seat;
    WaylandPtr<wl_pointer> pointer;
    std::uint32_t entered = 0; // Serial of the enter event; 0: elsewhere.
    unsigned buttons = 0;

    void setCapabilities(std::uint32_t capabilities) {
        const bool has = (capabilities & WL_SEAT_CAPABILITY_POINTER) != 0;
        entered = has ? entered : 0;
        if (!has)
            pointer.reset();
        else if (!pointer)
            listen();
    }

    void moved(wl_fixed_t x, wl_fixed_t y) const {
        all.m_listener.moved(wl_fixed_to_double(x), wl_fixed_to_double(y), buttons);
    }

    void button(std::uint32_t number, bool pressed) {
        const unsigned bit = bitOf(number);
        buttons = pressed ? buttons | bit : buttons & ~bit;
        if (!pressed)
            all.m_listener.released(bit);
    }

    void listen();
};

void WaylandPointers::Seat::listen() {
    static constexpr wl_pointer_listener kListener{
        .enter =
            [](void *data, wl_pointer *, std::uint32_t serial, wl_surface *, wl_fixed_t x, wl_fixed_t y) {
                auto &self = *static_cast<Seat *>(data);
                self.entered = serial;
                self.buttons = 0;
                self.all.applyCursor(self); // Each enter forgets the one before.
                self.all.m_listener.entered(wl_fixed_to_double(x), wl_fixed_to_double(y));
            },
        .leave = [](void *self, wl_pointer *, std::uint32_t,
                    wl_surface *) { static_cast<Seat *>(self)->entered = 0; },
        .motion = [](void *self, wl_pointer *, std::uint32_t, wl_fixed_t x,
                     wl_fixed_t y) { static_cast<Seat *>(self)->moved(x, y); },
        .button =
            [](void *self, wl_pointer *, std::uint32_t, std::uint32_t, std::uint32_t number,
               std::uint32_t state) {
                static_cast<Seat *>(self)->button(number, state == WL_POINTER_BUTTON_STATE_PRESSED);
            },
        .axis = [](void *, wl_pointer *, std::uint32_t, std::uint32_t, wl_fixed_t) {},
        .frame = [](void *, wl_pointer *) {},
        .axis_source = [](void *, wl_pointer *, std::uint32_t) {},
        .axis_stop = [](void *, wl_pointer *, std::uint32_t, std::uint32_t) {},
        .axis_discrete = [](void *, wl_pointer *, std::uint32_t, std::int32_t) {},
        .axis_value120 = [](void *, wl_pointer *, std::uint32_t, std::int32_t) {}};
    pointer.reset(wl_seat_get_pointer(seat.get()));
    wl_pointer_add_listener(pointer.get(), &kListener, this);
}

WaylandPointers::WaylandPointers(WaylandConnection &connection, Listener listener)
    : m_connection(connection),
      m_listener(std::move(listener)) {
    connection.onGlobals(
        wl_seat_interface, [this](const auto &global) { add(global); },
        [this](const auto &global) {
            std::erase_if(m_seats, [&](const auto &seat) { return seat->global == global.name; });
        });
}

WaylandPointers::~WaylandPointers() = default;

void WaylandPointers::add(const WaylandConnection::Global &global) {
    static constexpr wl_seat_listener kListener{
        .capabilities = [](void *self, wl_seat *,
                           std::uint32_t all) { static_cast<Seat *>(self)->setCapabilities(all); },
        .name = [](void *, wl_seat *, const char *) {}};
    auto *seat = static_cast<wl_seat *>(m_connection.bindGlobal(global, wl_seat_interface, kSeatVersion));
    m_seats.push_back(
        std::unique_ptr<Seat>(new Seat{*this, global.name, WaylandPtr<wl_seat>(seat), nullptr}));
    wl_seat_add_listener(seat, &kListener, m_seats.back().get());
}

void WaylandPointers::setCursor(wl_surface *cursor, int hotspotX, int hotspotY) {
    m_cursor = cursor;
    m_hotspotX = hotspotX;
    m_hotspotY = hotspotY;
    for (const auto &seat : m_seats)
        applyCursor(*seat);
}

void WaylandPointers::applyCursor(const Seat &seat) const {
    if (seat.entered != 0)
        wl_pointer_set_cursor(seat.pointer.get(), seat.entered, m_cursor, m_hotspotX, m_hotspotY);
}

} // namespace companion
