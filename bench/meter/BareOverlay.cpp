#include "meter/BareOverlay.h"

#include <xcb/shm.h>
#include <xcb/xcb.h>

#include <sys/ipc.h>
#include <sys/shm.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace companion::bench {
namespace {

using Pixel = std::uint32_t;

constexpr int kSize = 150;
constexpr int kHalf = kSize / 2;
constexpr int kZoom = 5;
constexpr int kRing = 2;
constexpr int kSlots = 8; // The server may still read the last few patches.
constexpr Pixel kDim = 0x80000000;
constexpr Pixel kDot = 0xcccc0000;

double coverage(int x, int y, double radius) {
    return std::clamp(radius - std::hypot(x + 0.5 - kHalf, y + 0.5 - kHalf) + 0.5, 0.0, 1.0);
}

Pixel times(Pixel pixel, double factor) {
    Pixel result = 0;
    for (int shift = 0; shift < 32; shift += 8)
        result |= static_cast<Pixel>(std::lround(((pixel >> shift) & 0xff) * factor)) << shift;
    return result;
}

class BareOverlay {
public:
    BareOverlay(const std::string &effect, bool full)
        : m_lens(effect == "lens"),
          m_spotlight(effect == "spotlight"),
          m_full(full),
          m_connection(xcb_connect(nullptr, nullptr)),
          m_screen(xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data),
          m_width(m_screen->width_in_pixels),
          m_height(m_screen->height_in_pixels) {
        if (m_lens)
            capture();
        makeMasks();
        makeWindow();
        m_pixels =
            share(m_full ? std::size_t(m_width) * std::size_t(m_height) : std::size_t{kSlots} * kSize * kSize,
                  m_segment);
        if (!m_full && !m_lens)
            for (int slot = 0; slot < kSlots; ++slot)
                drawDisc(m_pixels + slot * kSize * kSize, kSize);
    }

    [[noreturn]] void run() {
        xcb_flush(m_connection);
        std::fputs("ready\n", stderr);
        while (true) {
            xcb_generic_event_t *event = xcb_wait_for_event(m_connection);
            if (event == nullptr)
                std::_Exit(EXIT_SUCCESS); // The server has gone.
            bool moved = false;
            int x = 0;
            int y = 0;
            for (; event != nullptr; event = xcb_poll_for_event(m_connection)) {
                if ((event->response_type & 0x7f) == XCB_MOTION_NOTIFY) {
                    const auto *motion = reinterpret_cast<const xcb_motion_notify_event_t *>(event);
                    x = motion->root_x - kHalf;
                    y = motion->root_y - kHalf;
                    moved = true;
                }
                std::free(event);
            }
            if (!moved)
                continue;
            if (m_full)
                showAll(x, y);
            else
                showChange(x, y);
            xcb_flush(m_connection);
        }
    }

private:
    Pixel surround() const { return m_spotlight ? kDim : 0; }

    Pixel *share(std::size_t pixels, xcb_shm_seg_t &segment) {
        const int id = shmget(IPC_PRIVATE, pixels * sizeof(Pixel), IPC_CREAT | 0600);
        auto *memory = static_cast<Pixel *>(shmat(id, nullptr, 0));
        segment = xcb_generate_id(m_connection);
        xcb_shm_attach(m_connection, segment, static_cast<std::uint32_t>(id), 0);
        sync();
        shmctl(id, IPC_RMID, nullptr);
        return memory;
    }

    void sync() {
        std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    }

    void capture() {
        xcb_shm_seg_t segment = 0;
        m_picture = share(std::size_t(m_width) * std::size_t(m_height), segment);
        std::free(xcb_shm_get_image_reply(m_connection,
                                          xcb_shm_get_image(m_connection, m_screen->root, 0, 0,
                                                            static_cast<std::uint16_t>(m_width),
                                                            static_cast<std::uint16_t>(m_height), ~0U,
                                                            XCB_IMAGE_FORMAT_Z_PIXMAP, segment, 0),
                                          nullptr));
        for (int i = 0; i < m_width * m_height; ++i)
            m_picture[i] |= 0xff000000;
    }

    void makeMasks() {
        m_disc.resize(kSize * kSize);
        for (int y = 0; y < kSize; ++y) {
            Span &span = m_inside.emplace_back(Span{kSize, 0});
            for (int x = 0; x < kSize; ++x) {
                const double disc = coverage(x, y, kHalf);
                const double inner = coverage(x, y, kHalf - kRing);
                m_disc[static_cast<std::size_t>(y * kSize + x)] = disc;
                if (inner >= 1) {
                    span.from = std::min(span.from, x);
                    span.to = x + 1;
                } else if (disc > 0) {
                    m_rim.push_back({x, y, disc, disc - std::min(disc, inner)});
                }
            }
        }
    }

    void makeWindow() {
        xcb_visualid_t visual = 0;
        for (auto depth = xcb_screen_allowed_depths_iterator(m_screen); depth.rem > 0; xcb_depth_next(&depth))
            if (depth.data->depth == 32)
                visual = xcb_depth_visuals_iterator(depth.data).data->visual_id;
        const auto colormap = xcb_generate_id(m_connection);
        xcb_create_colormap(m_connection, XCB_COLORMAP_ALLOC_NONE, colormap, m_screen->root, visual);
        m_window = xcb_generate_id(m_connection);
        const std::uint32_t values[] = {surround(), 0, 1, XCB_EVENT_MASK_POINTER_MOTION, colormap};
        xcb_create_window(m_connection, 32, m_window, m_screen->root, 0, 0,
                          static_cast<std::uint16_t>(m_width), static_cast<std::uint16_t>(m_height), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT |
                              XCB_CW_EVENT_MASK | XCB_CW_COLORMAP,
                          values);
        const char shadow[] = "_COMPTON_SHADOW";
        auto *atom = xcb_intern_atom_reply(
            m_connection, xcb_intern_atom(m_connection, 0, sizeof shadow - 1, shadow), nullptr);
        const std::uint32_t none = 0;
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, atom->atom, XCB_ATOM_CARDINAL, 32,
                            1, &none);
        std::free(atom);
        xcb_map_window(m_connection, m_window);
        m_gc = xcb_generate_id(m_connection);
        const std::uint32_t gcValues[] = {surround(), 0};
        xcb_create_gc(m_connection, m_gc, m_window, XCB_GC_FOREGROUND | XCB_GC_GRAPHICS_EXPOSURES, gcValues);
    }

    void drawDisc(Pixel *pixels, int stride) const {
        for (int y = 0; y < kSize; ++y)
            for (int x = 0; x < kSize; ++x) {
                const double disc = m_disc[static_cast<std::size_t>(y * kSize + x)];
                pixels[std::ptrdiff_t{y} * stride + x] =
                    m_spotlight ? times(kDim, 1 - disc) : times(kDot, disc);
            }
    }

    // The picture enlarged around the disc's middle, each of its rows worked out once.
    void drawLens(Pixel *pixels, int stride, int left, int top) {
        const auto source = [](int place) {
            return kHalf + (place - kHalf) / kZoom - (place < kHalf ? 1 : 0);
        };
        std::vector<Pixel> &line = m_line;
        line.resize(kSize);
        int shown = -1;
        std::size_t rim = 0;
        for (int y = 0; y < kSize; ++y) {
            if (source(y) != shown) {
                shown = source(y);
                const Pixel *row = m_picture + std::ptrdiff_t{top + shown} * m_width + left;
                for (int x = 0; x < kSize; ++x)
                    line[static_cast<std::size_t>(x)] = row[source(x)];
            }
            Pixel *target = pixels + std::ptrdiff_t{y} * stride;
            const Span &span = m_inside[static_cast<std::size_t>(y)];
            if (span.to > span.from)
                std::memcpy(target + span.from, line.data() + span.from,
                            static_cast<std::size_t>(span.to - span.from) * sizeof(Pixel));
            for (; rim < m_rim.size() && m_rim[rim].y == y; ++rim) {
                const Rim &r = m_rim[rim];
                target[r.x] = blend(line[static_cast<std::size_t>(r.x)], r);
            }
        }
    }

    struct Span {
        int from, to;
    };
    struct Rim {
        int x, y;
        double disc, ring;
    };

    static Pixel blend(Pixel picture, const Rim &rim) {
        const auto ring = static_cast<unsigned>(rim.ring * 255);
        const auto rest = static_cast<unsigned>(rim.disc * 255) - ring;
        Pixel result = 0;
        for (int shift = 0; shift < 32; shift += 8)
            result |= (ring + ((picture >> shift) & 0xff) * rest / 255) << shift;
        return result;
    }

    void showChange(int x, int y) {
        m_slot = (m_slot + 1) % kSlots;
        Pixel *patch = m_pixels + m_slot * kSize * kSize;
        if (m_lens)
            drawLens(patch, kSize, x, y);
        xcb_shm_put_image(m_connection, m_window, m_gc, kSize, kSize, 0, 0, kSize, kSize,
                          static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 32,
                          XCB_IMAGE_FORMAT_Z_PIXMAP, 0, m_segment,
                          static_cast<std::uint32_t>(m_slot * kSize * kSize) * 4);
        const int dx = x - m_x;
        const int dy = y - m_y;
        xcb_rectangle_t left[2]{};
        std::uint32_t count = 0;
        const auto add = [&](int ax, int ay, int width, int height) {
            if (width > 0 && height > 0)
                left[count++] = {static_cast<std::int16_t>(ax), static_cast<std::int16_t>(ay),
                                 static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height)};
        };
        if (std::abs(dx) >= kSize || std::abs(dy) >= kSize) {
            add(m_x, m_y, kSize, kSize);
        } else {
            add(dx > 0 ? m_x : x + kSize, m_y, std::abs(dx), kSize);
            add(std::max(x, m_x), dy > 0 ? m_y : y + kSize, kSize - std::abs(dx), std::abs(dy));
        }
        if (count > 0)
            xcb_poly_fill_rectangle(m_connection, m_window, m_gc, count, left);
        m_x = x;
        m_y = y;
    }

    void showAll(int x, int y) {
        std::fill_n(m_pixels, std::size_t(m_width) * std::size_t(m_height), surround());
        Pixel *disc = m_pixels + std::ptrdiff_t{y} * m_width + x;
        if (m_lens)
            drawLens(disc, m_width, x, y);
        else
            drawDisc(disc, m_width);
        const auto width = static_cast<std::uint16_t>(m_width);
        const auto height = static_cast<std::uint16_t>(m_height);
        xcb_shm_put_image(m_connection, m_window, m_gc, width, height, 0, 0, width, height, 0, 0, 32,
                          XCB_IMAGE_FORMAT_Z_PIXMAP, 0, m_segment, 0);
        sync(); // The memory is drawn over next time.
    }

    bool m_lens;
    bool m_spotlight;
    bool m_full;
    xcb_connection_t *m_connection;
    xcb_screen_t *m_screen;
    int m_width;
    int m_height;
    xcb_window_t m_window = 0;
    xcb_gcontext_t m_gc = 0;
    xcb_shm_seg_t m_segment = 0;
    Pixel *m_pixels = nullptr;
    Pixel *m_picture = nullptr;
    std::vector<double> m_disc;
    std::vector<Span> m_inside;
    std::vector<Rim> m_rim;
    std::vector<Pixel> m_line;
    int m_slot = 0;
    int m_x = -kSize;
    int m_y = -kSize;
};

} // namespace

int runBareOverlay(const std::string &effect, bool full) {
    BareOverlay overlay(effect, full);
    overlay.run();
}

} // namespace companion::bench
