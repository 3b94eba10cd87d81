#include "support/rig/WaylandClient.h"

#include <linux/input-event-codes.h>
#include <sys/mman.h>
#include <unistd.h>

#include <wayland-client.h>
#include <wayland-protocols/fake-input.h>
#include <wayland-protocols/viewporter.h>
#include <wayland-protocols/wlr-screencopy-unstable-v1.h>
#include <wayland-protocols/wlr-virtual-pointer-unstable-v1.h>
#include <wayland-protocols/xdg-shell.h>

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <utility>

namespace companion::rig {
namespace {

constexpr std::pair<int, int> kButtons[] = {{1, BTN_LEFT}, {2, BTN_MIDDLE}, {3, BTN_RIGHT}};

std::uint32_t now() {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(std::chrono::duration_cast<milliseconds>(time).count());
}

// Memory that the compositor sees, too.
struct Shared {
    Shared(wl_shm *shm, const QSize &size, int stride, std::uint32_t format)
        : bytes(static_cast<std::size_t>(stride) * static_cast<std::size_t>(size.height())) {
        const int file = memfd_create("slide", MFD_CLOEXEC);
        if (ftruncate(file, static_cast<off_t>(bytes)) != 0)
            throw std::runtime_error("no memory for a picture");
        data = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        wl_shm_pool *pool = wl_shm_create_pool(shm, file, static_cast<std::int32_t>(bytes));
        buffer = wl_shm_pool_create_buffer(pool, 0, size.width(), size.height(), stride, format);
        wl_shm_pool_destroy(pool);
        close(file);
    }
    ~Shared() {
        wl_buffer_destroy(buffer);
        munmap(data, bytes);
    }
    Shared(const Shared &) = delete;
    Shared &operator=(const Shared &) = delete;

    std::size_t bytes;
    void *data;
    wl_buffer *buffer;
};

} // namespace

struct WaylandClient::State {
    wl_display *display = nullptr;
    double scale = 1;
    wl_compositor *compositor = nullptr;
    wl_shm *shm = nullptr;
    wl_output *output = nullptr;
    wl_seat *seat = nullptr;
    xdg_wm_base *shell = nullptr;
    wp_viewporter *viewporter = nullptr;
    zwlr_virtual_pointer_manager_v1 *pointers = nullptr;
    zwlr_screencopy_manager_v1 *copies = nullptr;
    org_kde_kwin_fake_input *feigned = nullptr;
    zwlr_virtual_pointer_v1 *virtualPointer = nullptr;
    wl_pointer *pointer = nullptr;
    wl_surface *surface = nullptr;
    wp_viewport *viewport = nullptr;
    std::unique_ptr<Shared> shown;

    QSize mode;
    QPoint hand;
    QSize configured; // Points.
    bool isConfigured = false;
    bool active = false;
    bool offered = false, copied = false, refused = false; // Of a picture.
    QSize copySize;
    int copyStride = 0;
    std::uint32_t copyFormat = 0;
    QPointF over; // The mouse on the slide, points.
    std::vector<Button> buttons;

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
    void listenToPointer();
    void paint(const QImage &picture);
};

void WaylandClient::State::bind(wl_registry *registry, std::uint32_t name, const std::string &interface,
                                std::uint32_t version) {
    const auto take = [&](auto &place, const wl_interface &wanted, std::uint32_t known) {
        if (interface == wanted.name && place == nullptr)
            place = static_cast<std::remove_reference_t<decltype(place)>>(
                wl_registry_bind(registry, name, &wanted, std::min(version, known)));
    };
    take(compositor, wl_compositor_interface, 4);
    take(shm, wl_shm_interface, 1);
    take(output, wl_output_interface, 2);
    take(seat, wl_seat_interface, 5);
    take(shell, xdg_wm_base_interface, 1);
    take(viewporter, wp_viewporter_interface, 1);
    take(pointers, zwlr_virtual_pointer_manager_v1_interface, 2);
    take(copies, zwlr_screencopy_manager_v1_interface, 1);
    take(feigned, org_kde_kwin_fake_input_interface, 4);
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
    wl_output_add_listener(m->output, &kOutput, m.get());
    if (m->feigned != nullptr)
        org_kde_kwin_fake_input_authenticate(m->feigned, "test", "test");
    if (m->pointers != nullptr)
        m->virtualPointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(m->pointers, m->seat);
    m->roundtrip();
    move({1, 1}); // There is a mouse from here on.
    m->listenToPointer();
}

WaylandClient::~WaylandClient() {
    m->shown.reset();
    wl_display_disconnect(m->display);
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
                for (const auto &[number, known] : kButtons)
                    if (static_cast<int>(code) == known)
                        state.buttons.push_back({press != 0, number, (state.over * state.scale).toPoint()});
            },
        .axis = [](void *, wl_pointer *, std::uint32_t, std::uint32_t, wl_fixed_t) {},
        .frame = [](void *, wl_pointer *) {},
        .axis_source = [](void *, wl_pointer *, std::uint32_t) {},
        .axis_stop = [](void *, wl_pointer *, std::uint32_t, std::uint32_t) {},
        .axis_discrete = [](void *, wl_pointer *, std::uint32_t, std::int32_t) {},
        .axis_value120 = [](void *, wl_pointer *, std::uint32_t, std::int32_t) {}};
    pointer = wl_seat_get_pointer(seat);
    wl_pointer_add_listener(pointer, &kListener, this);
    roundtrip();
}

QSize WaylandClient::size() const {
    return m->mode;
}

QPoint WaylandClient::pointer() const {
    return m->hand;
}

void WaylandClient::move(QPoint to) {
    m->hand = to;
    if (m->virtualPointer != nullptr) {
        zwlr_virtual_pointer_v1_motion_absolute(
            m->virtualPointer, now(), static_cast<std::uint32_t>(to.x()), static_cast<std::uint32_t>(to.y()),
            static_cast<std::uint32_t>(m->mode.width()), static_cast<std::uint32_t>(m->mode.height()));
        zwlr_virtual_pointer_v1_frame(m->virtualPointer);
    } else {
        org_kde_kwin_fake_input_pointer_motion_absolute(m->feigned, wl_fixed_from_double(to.x() / m->scale),
                                                        wl_fixed_from_double(to.y() / m->scale));
    }
    m->roundtrip();
}

void WaylandClient::button(int number, bool press) {
    const auto *known = std::find_if(std::begin(kButtons), std::end(kButtons),
                                     [number](const auto &each) { return each.first == number; });
    const auto code = static_cast<std::uint32_t>(known->second);
    if (m->virtualPointer != nullptr) {
        zwlr_virtual_pointer_v1_button(m->virtualPointer, now(), code, press ? 1 : 0);
        zwlr_virtual_pointer_v1_frame(m->virtualPointer);
    } else {
        org_kde_kwin_fake_input_button(m->feigned, code, press ? 1 : 0);
    }
    m->roundtrip();
}

QImage WaylandClient::picture(bool withCursor) {
    if (m->copies == nullptr)
        return {};
    using Frame = zwlr_screencopy_frame_v1;
    static constexpr zwlr_screencopy_frame_v1_listener kListener{
        .buffer =
            [](void *data, Frame *, std::uint32_t format, std::uint32_t width, std::uint32_t height,
               std::uint32_t stride) {
                auto &state = *static_cast<State *>(data);
                state.offered = true;
                state.copyFormat = format;
                state.copySize = QSize(static_cast<int>(width), static_cast<int>(height));
                state.copyStride = static_cast<int>(stride);
            },
        .flags = [](void *, Frame *, std::uint32_t) {},
        .ready = [](void *state, Frame *, std::uint32_t, std::uint32_t,
                    std::uint32_t) { static_cast<State *>(state)->copied = true; },
        .failed = [](void *state, Frame *) { static_cast<State *>(state)->refused = true; },
        .damage = [](void *, Frame *, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) {},
        .linux_dmabuf = [](void *, Frame *, std::uint32_t, std::uint32_t, std::uint32_t) {},
        .buffer_done = [](void *, Frame *) {}};
    m->offered = m->copied = m->refused = false;
    Frame *frame = zwlr_screencopy_manager_v1_capture_output(m->copies, withCursor ? 1 : 0, m->output);
    zwlr_screencopy_frame_v1_add_listener(frame, &kListener, m.get());
    waitUntil("an offer of a picture", [this] { return m->roundtrip(), m->offered || m->refused; });
    const Shared memory(m->shm, m->copySize, m->copyStride, m->copyFormat);
    zwlr_screencopy_frame_v1_copy(frame, memory.buffer);
    waitUntil("a picture", [this] { return m->roundtrip(), m->copied || m->refused; });
    zwlr_screencopy_frame_v1_destroy(frame);
    return QImage(static_cast<const uchar *>(memory.data), m->copySize.width(), m->copySize.height(),
                  m->copyStride, QImage::Format_RGB32)
        .copy();
}

void WaylandClient::showSlide(const QImage &picture) {
    static constexpr xdg_surface_listener kSurface{
        .configure = [](void *state, xdg_surface *surface, std::uint32_t serial) {
            xdg_surface_ack_configure(surface, serial);
            static_cast<State *>(state)->isConfigured = true;
        }};
    static constexpr xdg_toplevel_listener kToplevel{
        .configure =
            [](void *data, xdg_toplevel *, std::int32_t width, std::int32_t height, wl_array *states) {
                auto &state = *static_cast<State *>(data);
                state.configured = {width, height};
                const auto *first = static_cast<const std::uint32_t *>(states->data);
                const auto *end = first + states->size / sizeof *first;
                state.active = std::find(first, end, std::uint32_t{XDG_TOPLEVEL_STATE_ACTIVATED}) != end;
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
        // Not every compositor says before that how large the screen is.
        waitUntil("a slide on all of the screen", [this] {
            return m->roundtrip(), (m->configured.width() + 1) * m->scale > m->mode.width();
        });
    }
    m->paint(picture);
}

void WaylandClient::State::paint(const QImage &picture) {
    const QImage whole = picture.convertToFormat(QImage::Format_RGB32);
    auto next = std::make_unique<Shared>(shm, mode, mode.width() * 4, WL_SHM_FORMAT_XRGB8888);
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

bool WaylandClient::active() {
    m->read();
    return m->active;
}

void WaylandClient::forget() {
    m->roundtrip();
    m->buttons.clear();
}

} // namespace companion::rig
