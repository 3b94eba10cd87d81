#include "wayland/BareClient.h"

#include <wayland-client.h>
#include <wayland-cursor.h>
#include <wayland-protocols/wlr-layer-shell-unstable-v1.h>

#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace companion::bench {
namespace {

using Pixel = std::uint32_t;
using Clock = std::chrono::steady_clock;

constexpr int kSize = 150;
constexpr int kFreeRows = 8; // At the top, where the program leaves the screen as it is.
constexpr Pixel kDim = 0x33000000;
constexpr Pixel kDot = 0xcccc0000; // Four fifths of red.
constexpr auto kBetweenCommits = std::chrono::milliseconds(4);

Pixel times(Pixel pixel, double factor) {
    Pixel result = 0;
    for (int shift = 0; shift < 32; shift += 8)
        result |= static_cast<Pixel>(std::lround(((pixel >> shift) & 0xff) * factor)) << shift;
    return result;
}

[[noreturn]] void fail(const char *what) {
    std::fprintf(stderr, "%s\n", what);
    std::exit(EXIT_FAILURE);
}

class BareClient {
public:
    explicit BareClient(const std::string &effect)
        : m_surround(effect == "spotlight" ? kDim : 0),
          m_disc(kSize * kSize),
          m_display(wl_display_connect(nullptr)) {
        if (m_display == nullptr)
            fail("no compositor");
        for (int y = 0; y < kSize; ++y)
            for (int x = 0; x < kSize; ++x) {
                const double away = std::hypot(x + 0.5 - kSize / 2.0, y + 0.5 - kSize / 2.0);
                const double disc = std::clamp(kSize / 2.0 - away + 0.5, 0.0, 1.0);
                m_disc[static_cast<std::size_t>(y * kSize + x)] =
                    m_surround != 0 ? times(kDim, 1 - disc) : times(kDot, disc);
            }
        static constexpr wl_registry_listener kRegistry{
            .global = [](void *self, wl_registry *registry, std::uint32_t name, const char *interface,
                         std::uint32_t) { static_cast<BareClient *>(self)->bind(registry, name, interface); },
            .global_remove = [](void *, wl_registry *, std::uint32_t) {}};
        wl_registry_add_listener(wl_display_get_registry(m_display), &kRegistry, this);
        wl_display_roundtrip(m_display);
        if (m_compositor == nullptr || m_shm == nullptr || m_shell == nullptr || m_seat == nullptr)
            fail("the compositor lacks what an overlay needs");
        loadArrow();
        listenToPointer();
        wl_display_roundtrip(m_display);
    }

    int run() {
        std::fputs("ready\n", stderr);
        std::array<pollfd, 2> ready{{{wl_display_get_fd(m_display), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
        while (true) {
            while (wl_display_prepare_read(m_display) != 0)
                wl_display_dispatch_pending(m_display);
            wl_display_flush(m_display);
            poll(ready.data(), ready.size(), m_moved ? untilCommit() : -1);
            if (ready[0].revents != 0)
                wl_display_read_events(m_display);
            else
                wl_display_cancel_read(m_display);
            if (wl_display_dispatch_pending(m_display) < 0)
                return EXIT_SUCCESS; // The compositor has gone.
            char command = 0;
            if (ready[1].revents != 0 && read(STDIN_FILENO, &command, 1) <= 0)
                return EXIT_SUCCESS;
            if (command == '+')
                show();
            else if (command == '-')
                hide();
            if (m_moved && untilCommit() == 0)
                draw();
        }
    }

private:
    struct Picture {
        Pixel *pixels = nullptr;
        wl_buffer *buffer = nullptr;
        bool held = false;
        bool hasDisc = false;
        int x = 0, y = 0; // Of the disc's top left.
    };

    void bind(wl_registry *registry, std::uint32_t name, std::string_view interface) {
        const auto take = [&](auto &place, const wl_interface &wanted, std::uint32_t version) {
            if (interface == wanted.name)
                place = static_cast<std::remove_reference_t<decltype(place)>>(
                    wl_registry_bind(registry, name, &wanted, version));
        };
        take(m_compositor, wl_compositor_interface, 4);
        take(m_shm, wl_shm_interface, 1);
        take(m_seat, wl_seat_interface, 1);
        take(m_shell, zwlr_layer_shell_v1_interface, 1);
    }

    // None where the system has no cursors.
    void loadArrow() {
        constexpr int kPoints = 24;
        wl_cursor_theme *theme = wl_cursor_theme_load(nullptr, kPoints, m_shm);
        wl_cursor *arrow = theme != nullptr ? wl_cursor_theme_get_cursor(theme, "left_ptr") : nullptr;
        if (arrow == nullptr || arrow->image_count == 0)
            return;
        wl_cursor_image *image = arrow->images[0];
        m_arrow = wl_compositor_create_surface(m_compositor);
        wl_surface_attach(m_arrow, wl_cursor_image_get_buffer(image), 0, 0);
        wl_surface_damage_buffer(m_arrow, 0, 0, static_cast<int>(image->width),
                                 static_cast<int>(image->height));
        wl_surface_commit(m_arrow);
        m_hotspotX = static_cast<int>(image->hotspot_x);
        m_hotspotY = static_cast<int>(image->hotspot_y);
    }

    void listenToPointer() {
        static constexpr wl_pointer_listener kListener{
            .enter =
                [](void *self, wl_pointer *pointer, std::uint32_t serial, wl_surface *, wl_fixed_t x,
                   wl_fixed_t y) {
                    auto &client = *static_cast<BareClient *>(self);
                    wl_pointer_set_cursor(pointer, serial, client.m_arrow, client.m_hotspotX,
                                          client.m_hotspotY);
                    client.move(x, y);
                },
            .leave = [](void *, wl_pointer *, std::uint32_t, wl_surface *) {},
            .motion = [](void *self, wl_pointer *, std::uint32_t, wl_fixed_t x,
                         wl_fixed_t y) { static_cast<BareClient *>(self)->move(x, y); },
            .button = [](void *, wl_pointer *, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) {},
            .axis = [](void *, wl_pointer *, std::uint32_t, std::uint32_t, wl_fixed_t) {},
            .frame = [](void *, wl_pointer *) {},
            .axis_source = [](void *, wl_pointer *, std::uint32_t) {},
            .axis_stop = [](void *, wl_pointer *, std::uint32_t, std::uint32_t) {},
            .axis_discrete = [](void *, wl_pointer *, std::uint32_t, std::int32_t) {},
            .axis_value120 = [](void *, wl_pointer *, std::uint32_t, std::int32_t) {}};
        wl_pointer_add_listener(wl_seat_get_pointer(m_seat), &kListener, this);
    }

    void show() {
        static constexpr zwlr_layer_surface_v1_listener kListener{
            .configure =
                [](void *self, zwlr_layer_surface_v1 *layer, std::uint32_t serial, std::uint32_t width,
                   std::uint32_t height) {
                    zwlr_layer_surface_v1_ack_configure(layer, serial);
                    static_cast<BareClient *>(self)->configured(static_cast<int>(width),
                                                                static_cast<int>(height));
                },
            .closed = [](void *, zwlr_layer_surface_v1 *) { fail("closed"); }};
        m_surface = wl_compositor_create_surface(m_compositor);
        m_layer = zwlr_layer_shell_v1_get_layer_surface(m_shell, m_surface, nullptr,
                                                        ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, "bare");
        zwlr_layer_surface_v1_add_listener(m_layer, &kListener, this);
        zwlr_layer_surface_v1_set_anchor(
            m_layer, ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM |
                         ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT);
        zwlr_layer_surface_v1_set_exclusive_zone(m_layer, -1);
        wl_surface_commit(m_surface);
    }

    void hide() {
        zwlr_layer_surface_v1_destroy(m_layer);
        wl_surface_destroy(m_surface);
        m_surface = nullptr;
        m_moved = m_shows = false;
        for (Picture &picture : m_pictures) {
            if (picture.buffer != nullptr)
                wl_buffer_destroy(picture.buffer);
            if (picture.pixels != nullptr)
                munmap(picture.pixels, bytes());
            picture = {};
        }
    }

    void configured(int width, int height) {
        m_width = width;
        m_height = height;
        m_moved = true; // Without a place yet: the middle.
        m_x = (width - kSize) / 2;
        m_y = (height - kSize) / 2;
    }

    void move(wl_fixed_t x, wl_fixed_t y) {
        if (m_surface == nullptr)
            return;
        m_x = std::clamp(wl_fixed_to_int(x) - kSize / 2, 0, m_width - kSize);
        m_y = std::clamp(wl_fixed_to_int(y) - kSize / 2, 0, m_height - kSize);
        m_moved = true;
    }

    std::size_t bytes() const {
        return static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height) * sizeof(Pixel);
    }

    int untilCommit() const {
        const auto rest = m_last + kBetweenCommits - Clock::now();
        return std::max(0, static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(rest).count()));
    }

    Pixel *at(const Picture &picture, int x, int y) const {
        return picture.pixels + std::ptrdiff_t{y} * m_width + x;
    }

    void allocate(Picture &picture) {
        const int file = memfd_create("bare", MFD_CLOEXEC);
        if (ftruncate(file, static_cast<off_t>(bytes())) != 0)
            fail("no memory");
        picture.pixels =
            static_cast<Pixel *>(mmap(nullptr, bytes(), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
        wl_shm_pool *pool = wl_shm_create_pool(m_shm, file, static_cast<std::int32_t>(bytes()));
        picture.buffer = wl_shm_pool_create_buffer(
            pool, 0, m_width, m_height, m_width * static_cast<int>(sizeof(Pixel)), WL_SHM_FORMAT_ARGB8888);
        wl_shm_pool_destroy(pool);
        close(file);
        static constexpr wl_buffer_listener kListener{
            .release = [](void *held, wl_buffer *) { *static_cast<bool *>(held) = false; }};
        wl_buffer_add_listener(picture.buffer, &kListener, &picture.held);
        Pixel *first = at(picture, 0, kFreeRows);
        std::fill_n(first, std::ptrdiff_t{m_height - kFreeRows} * m_width, m_surround);
    }

    // Back to the surround, but for what the disc covers again.
    void clean(const Picture &picture) const {
        const int dx = m_x - picture.x;
        const int dy = m_y - picture.y;
        for (int row = 0; row < kSize; ++row) {
            Pixel *line = at(picture, picture.x, picture.y + row);
            if (row < dy || row >= kSize + dy || std::abs(dx) >= kSize)
                std::fill_n(line, kSize, m_surround);
            else
                std::fill_n(dx > 0 ? line : line + kSize + dx, std::abs(dx), m_surround);
        }
    }

    void draw() {
        const auto free = std::find_if(m_pictures.begin(), m_pictures.end(),
                                       [](const Picture &each) { return !each.held; });
        if (free == m_pictures.end())
            fail("the compositor holds both pictures");
        if (free->buffer == nullptr)
            allocate(*free);
        if (free->hasDisc)
            clean(*free);
        for (int row = 0; row < kSize; ++row)
            std::copy_n(m_disc.data() + std::ptrdiff_t{row} * kSize, kSize, at(*free, m_x, m_y + row));
        free->x = m_x;
        free->y = m_y;
        free->hasDisc = free->held = true;
        wl_surface_attach(m_surface, free->buffer, 0, 0);
        if (m_shows) {
            wl_surface_damage_buffer(m_surface, m_shownX, m_shownY, kSize, kSize);
            wl_surface_damage_buffer(m_surface, m_x, m_y, kSize, kSize);
        } else {
            wl_surface_damage_buffer(m_surface, 0, 0, m_width, m_height);
        }
        wl_surface_commit(m_surface);
        wl_display_flush(m_display);
        m_shownX = m_x;
        m_shownY = m_y;
        m_shows = true;
        m_moved = false;
        m_last = Clock::now();
    }

    Pixel m_surround;
    std::vector<Pixel> m_disc;
    wl_display *m_display;
    wl_compositor *m_compositor = nullptr;
    wl_shm *m_shm = nullptr;
    wl_seat *m_seat = nullptr;
    zwlr_layer_shell_v1 *m_shell = nullptr;
    wl_surface *m_arrow = nullptr;
    int m_hotspotX = 0, m_hotspotY = 0;
    wl_surface *m_surface = nullptr;
    zwlr_layer_surface_v1 *m_layer = nullptr;
    std::array<Picture, 2> m_pictures;
    int m_width = 0, m_height = 0;
    int m_x = 0, m_y = 0;           // Of the disc's top left, where it is wanted
    int m_shownX = 0, m_shownY = 0; // and where it is.
    bool m_moved = false, m_shows = false;
    Clock::time_point m_last;
};

} // namespace

int runBareClient(const std::string &effect) {
    return BareClient(effect).run();
}

} // namespace companion::bench
