#include "support/rig/WaylandClient.h"

#include "support/rig/ScreenCopy.h"
#include "support/rig/WaylandHand.h"

#include <unistd.h>

#include <wayland-client.h>
#include <wayland-protocols/fake-input.h>
#include <wayland-protocols/viewporter.h>
#include <wayland-protocols/virtual-keyboard-unstable-v1.h>
#include <wayland-protocols/wlr-screencopy-unstable-v1.h>
#include <wayland-protocols/wlr-virtual-pointer-unstable-v1.h>
#include <wayland-protocols/xdg-shell.h>

#include <poll.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace companion::rig {
struct WaylandClient::State {
    wl_display *display = nullptr;
    double scale = 1;
    wl_compositor *compositor = nullptr;
    wl_shm *shm = nullptr;
    wl_output *output = nullptr;
    wl_seat *seat = nullptr;
    xdg_wm_base *shell = nullptr;
    wp_viewporter *viewporter = nullptr;
    zwlr_screencopy_manager_v1 *copies = nullptr;
    WaylandHand::Means means;
    std::optional<WaylandHand> hand;
    wl_surface *surface = nullptr;
    wp_viewport *viewport = nullptr;
    std::unique_ptr<SharedPicture> shown;

    QSize mode;
    QPoint pointer;
    QSize configured; // Points.
    bool isConfigured = false;
    bool hasKeyboard = false;
    QPointF over; // The mouse on the slide, points.
    std::vector<Button> buttons;
    std::vector<std::uint8_t> keys;

    void roundtrip() const {
        if (wl_display_roundtrip(display) < 0)
            throw std::runtime_error("the compositor has gone, or refused a request of the rig's");
    }
    // What has come, without waiting for more.
    void read() const {
        while (wl_display_prepare_read(display) != 0)
            wl_display_dispatch_pending(display);
        wl_display_flush(display);
        pollfd ready{wl_display_get_fd(display), POLLIN, 0};
        if (poll(&ready, 1, 0) > 0)
            wl_display_read_events(display);
        else
            wl_display_cancel_read(display);
        wl_display_dispatch_pending(display);
    }
    void bind(wl_registry *registry, std::uint32_t name, const std::string &interface, std::uint32_t version);
    void listenToOutput();
    void listenToPointer();
    void listenToKeyboard();
    void paint(const QImage &picture);
};

void WaylandClient::State::bind(wl_registry *registry, std::uint32_t name, const std::string &interface,
                                std::uint32_t version) {
    const auto take = [&](auto &place, const wl_interface &wanted, std::uint32_t known) {
        const bool taken = interface == wanted.name && place == nullptr;
        if (taken)
            place = static_cast<std::remove_reference_t<decltype(place)>>(
                wl_registry_bind(registry, name, &wanted, std::min(version, known)));
        return taken;
    };
    take(compositor, wl_compositor_interface, 4);
    take(shm, wl_shm_interface, 1);
    if (take(output, wl_output_interface, 2))
        listenToOutput();
    take(seat, wl_seat_interface, 5);
    take(shell, xdg_wm_base_interface, 1);
    take(viewporter, wp_viewporter_interface, 1);
    take(copies, zwlr_screencopy_manager_v1_interface, 1);
    take(means.pointers, zwlr_virtual_pointer_manager_v1_interface, 2);
    take(means.keyboards, zwp_virtual_keyboard_manager_v1_interface, 1);
    take(means.feigned, org_kde_kwin_fake_input_interface, 4);
}

WaylandClient::WaylandClient(const std::string &socket, double scale) : m(std::make_unique<State>()) {
    m->scale = scale;
    m->display = wl_display_connect(socket.c_str());
    if (m->display == nullptr)
        throw std::runtime_error("no compositor at " + socket);
    static constexpr wl_registry_listener kRegistry{
        .global =
            [](void *state, wl_registry *registry, std::uint32_t name, const char *interface,
               std::uint32_t version) {
                static_cast<State *>(state)->bind(registry, name, interface, version);
            },
        .global_remove = [](void *, wl_registry *, std::uint32_t) {}};
    wl_registry_add_listener(wl_display_get_registry(m->display), &kRegistry, m.get());
    m->roundtrip();
    m->means.seat = m->seat;
    m->hand.emplace(m->means);
    m->roundtrip();
    move({1, 1}); // There is a mouse from here on.
    m->listenToPointer();
    m->listenToKeyboard();
    m->roundtrip();
}

WaylandClient::~WaylandClient() {
    m->shown.reset();
    wl_display_disconnect(m->display);
}

void WaylandClient::State::listenToOutput() {
    static constexpr wl_output_listener kOutput{
        .geometry = [](void *, wl_output *, std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                       std::int32_t, const char *, const char *, std::int32_t) {},
        .mode =
            [](void *state, wl_output *, std::uint32_t, std::int32_t width, std::int32_t height,
               std::int32_t) {
                static_cast<State *>(state)->mode = {width, height};
            },
        .done = [](void *, wl_output *) {},
        .scale = [](void *, wl_output *, std::int32_t) {},
        .name = [](void *, wl_output *, const char *) {},
        .description = [](void *, wl_output *, const char *) {}};
    wl_output_add_listener(output, &kOutput, this);
}

void WaylandClient::State::listenToPointer() {
    static constexpr wl_pointer_listener kListener{
        .enter =
            [](void *state, wl_pointer *mouse, std::uint32_t serial, wl_surface *, wl_fixed_t x,
               wl_fixed_t y) {
                static_cast<State *>(state)->over = {wl_fixed_to_double(x), wl_fixed_to_double(y)};
                // Some compositors have the cursor in every picture.
                wl_pointer_set_cursor(mouse, serial, nullptr, 0, 0);
            },
        .leave = [](void *, wl_pointer *, std::uint32_t, wl_surface *) {},
        .motion =
            [](void *state, wl_pointer *, std::uint32_t, wl_fixed_t x, wl_fixed_t y) {
                static_cast<State *>(state)->over = {wl_fixed_to_double(x), wl_fixed_to_double(y)};
            },
        .button =
            [](void *data, wl_pointer *, std::uint32_t, std::uint32_t, std::uint32_t code,
               std::uint32_t press) {
                auto &state = *static_cast<State *>(data);
                state.buttons.push_back(
                    {press != 0, WaylandHand::buttonNumber(code), (state.over * state.scale).toPoint()});
            },
        .axis = [](void *, wl_pointer *, std::uint32_t, std::uint32_t, wl_fixed_t) {},
        .frame = [](void *, wl_pointer *) {},
        .axis_source = [](void *, wl_pointer *, std::uint32_t) {},
        .axis_stop = [](void *, wl_pointer *, std::uint32_t, std::uint32_t) {},
        .axis_discrete = [](void *, wl_pointer *, std::uint32_t, std::int32_t) {},
        .axis_value120 = [](void *, wl_pointer *, std::uint32_t, std::int32_t) {}};
    wl_pointer_add_listener(wl_seat_get_pointer(seat), &kListener, this);
}

void WaylandClient::State::listenToKeyboard() {
    static constexpr wl_keyboard_listener kListener{
        .keymap = [](void *, wl_keyboard *, std::uint32_t, std::int32_t file, std::uint32_t) { close(file); },
        .enter = [](void *state, wl_keyboard *, std::uint32_t, wl_surface *,
                    wl_array *) { static_cast<State *>(state)->hasKeyboard = true; },
        .leave = [](void *state, wl_keyboard *, std::uint32_t,
                    wl_surface *) { static_cast<State *>(state)->hasKeyboard = false; },
        .key =
            [](void *state, wl_keyboard *, std::uint32_t, std::uint32_t, std::uint32_t code,
               std::uint32_t press) {
                if (press != 0)
                    static_cast<State *>(state)->keys.push_back(
                        static_cast<std::uint8_t>(code + WaylandHand::kFirstKeycode));
            },
        .modifiers = [](void *, wl_keyboard *, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                        std::uint32_t) {},
        .repeat_info = [](void *, wl_keyboard *, std::int32_t, std::int32_t) {}};
    wl_keyboard_add_listener(wl_seat_get_keyboard(seat), &kListener, this);
}

QSize WaylandClient::size() const {
    m->read();
    return m->mode;
}

QPoint WaylandClient::pointer() const {
    return m->pointer;
}

void WaylandClient::move(QPoint to) {
    m->pointer = to;
    m->hand->move(to, m->mode, m->scale);
    m->roundtrip();
}

void WaylandClient::button(int number, bool press) {
    m->hand->button(number, press);
    m->roundtrip();
}

void WaylandClient::key(std::uint8_t keycode, bool press) {
    m->hand->key(keycode, press);
    m->roundtrip();
}

QImage WaylandClient::picture(bool withCursor) {
    if (m->copies == nullptr)
        throw std::runtime_error("the compositor lets no program read the screen this way");
    return screenCopy(*m->display, *m->copies, *m->output, *m->shm, withCursor);
}

void WaylandClient::showSlide(const QImage &picture) {
    static constexpr xdg_surface_listener kSurface{
        .configure = [](void *state, xdg_surface *surface, std::uint32_t serial) {
            xdg_surface_ack_configure(surface, serial);
            static_cast<State *>(state)->isConfigured = true;
        }};
    static constexpr xdg_toplevel_listener kToplevel{
        .configure =
            [](void *state, xdg_toplevel *, std::int32_t width, std::int32_t height, wl_array *) {
                static_cast<State *>(state)->configured = {width, height};
            },
        .close = [](void *, xdg_toplevel *) {},
        .configure_bounds = [](void *, xdg_toplevel *, std::int32_t, std::int32_t) {},
        .wm_capabilities = [](void *, xdg_toplevel *, wl_array *) {}};
    static constexpr xdg_wm_base_listener kShell{
        .ping = [](void *, xdg_wm_base *shell, std::uint32_t serial) { xdg_wm_base_pong(shell, serial); }};
    if (m->surface == nullptr) {
        xdg_wm_base_add_listener(m->shell, &kShell, m.get());
        m->surface = wl_compositor_create_surface(m->compositor);
        m->viewport = wp_viewporter_get_viewport(m->viewporter, m->surface);
        xdg_surface *role = xdg_wm_base_get_xdg_surface(m->shell, m->surface);
        xdg_surface_add_listener(role, &kSurface, m.get());
        xdg_toplevel *window = xdg_surface_get_toplevel(role);
        xdg_toplevel_add_listener(window, &kToplevel, m.get());
        xdg_toplevel_set_fullscreen(window, nullptr);
        wl_surface_commit(m->surface);
        waitUntil("a slide", [this] { return m->roundtrip(), m->isConfigured; });
        m->paint(picture);
    }
    // Not every compositor says before the first picture how large the screen is.
    waitUntil("a slide on all of the screen", [this] {
        return m->roundtrip(), std::abs(m->configured.width() * m->scale - m->mode.width()) < m->scale;
    });
    m->paint(picture);
}

void WaylandClient::State::paint(const QImage &picture) {
    const QImage whole = picture.convertToFormat(QImage::Format_RGB32);
    auto next = std::make_unique<SharedPicture>(*shm, mode, mode.width() * 4, WL_SHM_FORMAT_XRGB8888);
    auto *pixels = static_cast<QRgb *>(next->data);
    for (int y = 0; y < mode.height(); ++y) // Again and again, if it is smaller than the screen.
        for (int x = 0; x < mode.width(); ++x)
            *pixels++ = whole.pixel(x % whole.width(), y % whole.height());
    const QSize place = configured.isEmpty() ? mode : configured;
    wp_viewport_set_destination(viewport, place.width(), place.height());
    wl_surface_attach(surface, next->buffer, 0, 0);
    wl_surface_damage_buffer(surface, 0, 0, mode.width(), mode.height());
    wl_surface_commit(surface);
    roundtrip();
    shown = std::move(next);
}

const std::vector<WaylandClient::Button> &WaylandClient::buttons() {
    m->read();
    return m->buttons;
}

const std::vector<std::uint8_t> &WaylandClient::keys() {
    m->read();
    return m->keys;
}

bool WaylandClient::hasKeyboard() {
    m->read();
    return m->hasKeyboard;
}

void WaylandClient::forget() {
    m->roundtrip();
    m->buttons.clear();
    m->keys.clear();
}

} // namespace companion::rig
