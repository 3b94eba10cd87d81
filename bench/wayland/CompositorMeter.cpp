#include "wayland/CompositorMeter.h"

#include "platform/wayland/WaylandObjects.h"

#include <QColor>
#include <QRect>

#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace companion::bench {
namespace {

using namespace std::chrono_literals;
using Clock = CompositorMeter::Clock;

constexpr int kStep = 9;
constexpr int kRun = 50;      // Steps before it turns round.
constexpr int kWayBack = 4;   // Points beside the places of the way there: no place comes twice in a row.
constexpr int kTolerance = 1; // Points that the effect's middle may be off.
constexpr auto kMouseInterval = 8ms;
constexpr auto kLost = 2s;

double millisecondsBetween(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double, std::milli>(to - from).count();
}

QPoint placeOf(int event, const QSize &size) {
    const int step = event % (2 * kRun);
    const int x = step < kRun ? step * kStep : (2 * kRun - step) * kStep - kWayBack;
    return {size.width() / 2 - kRun * kStep / 2 + x, size.height() / 2};
}

} // namespace

struct CompositorMeter::State {
    QSize size;
    struct Disconnect {
        void operator()(wl_display *display) const { wl_display_disconnect(display); }
    };
    std::unique_ptr<wl_display, Disconnect> display;
    WaylandPtr<wl_registry> registry;
    WaylandPtr<wl_shm> shm;
    WaylandPtr<wl_output> output;
    WaylandPtr<wl_seat> seat;
    WaylandPtr<zwlr_virtual_pointer_manager_v1> pointers;
    WaylandPtr<zwlr_screencopy_manager_v1> copies;
    WaylandPtr<zwlr_virtual_pointer_v1> hand;

    // The part of the screen that is watched; its pixels are those of the newest picture.
    QRect part;
    WaylandPtr<zwlr_screencopy_frame_v1> frame;
    WaylandPtr<wl_buffer> buffer;
    const QRgb *pixels = nullptr;
    std::size_t bytes = 0;
    bool wantsDamage = false;
    std::optional<Clock::time_point> composed; // The picture has come,
    bool refused = false;                      // or never will.

    ~State() { forgetPart(); }

    void bind(std::uint32_t name, std::string_view interface) {
        const auto take = [&](auto &place, const wl_interface &wanted, std::uint32_t version) {
            if (interface == wanted.name)
                place.reset(static_cast<decltype(place.get())>(
                    wl_registry_bind(registry.get(), name, &wanted, version)));
        };
        take(shm, wl_shm_interface, 1);
        take(output, wl_output_interface, 1);
        take(seat, wl_seat_interface, 1);
        take(pointers, zwlr_virtual_pointer_manager_v1_interface, 1);
        take(copies, zwlr_screencopy_manager_v1_interface, 2);
    }

    void roundtrip() const {
        if (wl_display_roundtrip(display.get()) < 0)
            throw std::runtime_error("the compositor has gone, or refused a request of the meter's");
    }

    void send(QPoint to) const {
        zwlr_virtual_pointer_v1_motion_absolute(
            hand.get(), 0, static_cast<std::uint32_t>(to.x()), static_cast<std::uint32_t>(to.y()),
            static_cast<std::uint32_t>(size.width()), static_cast<std::uint32_t>(size.height()));
        zwlr_virtual_pointer_v1_frame(hand.get());
        wl_display_flush(display.get());
    }

    void forgetPart() {
        frame.reset();
        buffer.reset();
        if (pixels != nullptr)
            munmap(const_cast<QRgb *>(pixels), bytes);
        pixels = nullptr;
    }

    void allocate(std::uint32_t format, int stride, const QSize &told);
    void request(bool damage);
    void handle(Clock::time_point limit);
    Clock::time_point next();
    void watch(const QRect &area);
    std::optional<double> middle(QRgb plain) const;
};

void CompositorMeter::State::allocate(std::uint32_t format, int stride, const QSize &told) {
    bytes = static_cast<std::size_t>(stride) * static_cast<std::size_t>(told.height());
    const int file = memfd_create("meter", MFD_CLOEXEC);
    refused = ftruncate(file, static_cast<off_t>(bytes)) != 0 || told != part.size(); // Another scale than 1.
    pixels = static_cast<const QRgb *>(mmap(nullptr, bytes, PROT_READ, MAP_SHARED, file, 0));
    wl_shm_pool *pool = wl_shm_create_pool(shm.get(), file, static_cast<std::int32_t>(bytes));
    buffer.reset(wl_shm_pool_create_buffer(pool, 0, told.width(), told.height(), stride, format));
    wl_shm_pool_destroy(pool);
    close(file);
}

// With `damage` the compositor waits until it composes something new.
void CompositorMeter::State::request(bool damage) {
    using Frame = zwlr_screencopy_frame_v1;
    static constexpr zwlr_screencopy_frame_v1_listener kListener{
        .buffer =
            [](void *data, Frame *asked, std::uint32_t format, std::uint32_t width, std::uint32_t height,
               std::uint32_t stride) {
                auto &state = *static_cast<State *>(data);
                if (!state.buffer)
                    state.allocate(format, static_cast<int>(stride),
                                   QSize(static_cast<int>(width), static_cast<int>(height)));
                if (state.wantsDamage)
                    zwlr_screencopy_frame_v1_copy_with_damage(asked, state.buffer.get());
                else
                    zwlr_screencopy_frame_v1_copy(asked, state.buffer.get());
                wl_display_flush(state.display.get());
            },
        .flags = [](void *, Frame *, std::uint32_t) {},
        .ready =
            [](void *data, Frame *, std::uint32_t high, std::uint32_t low, std::uint32_t nanoseconds) {
                const auto seconds = static_cast<std::int64_t>((std::uint64_t{high} << 32) | low);
                static_cast<State *>(data)->composed =
                    Clock::time_point(std::chrono::seconds(seconds) + std::chrono::nanoseconds(nanoseconds));
            },
        .failed = [](void *state, Frame *) { static_cast<State *>(state)->refused = true; },
        .damage = [](void *, Frame *, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) {},
        .linux_dmabuf = [](void *, Frame *, std::uint32_t, std::uint32_t, std::uint32_t) {},
        .buffer_done = [](void *, Frame *) {}};
    wantsDamage = damage;
    composed.reset();
    frame.reset(zwlr_screencopy_manager_v1_capture_output_region(copies.get(), 0, output.get(), part.x(),
                                                                 part.y(), part.width(), part.height()));
    zwlr_screencopy_frame_v1_add_listener(frame.get(), &kListener, this);
    wl_display_flush(display.get());
}

// Until the picture has come, or this late.
void CompositorMeter::State::handle(Clock::time_point limit) {
    pollfd ready{wl_display_get_fd(display.get()), POLLIN, 0};
    while (!composed) {
        while (wl_display_prepare_read(display.get()) != 0)
            wl_display_dispatch_pending(display.get());
        const auto left = std::max(limit - Clock::now(), Clock::duration(0));
        const timespec wait{std::chrono::duration_cast<std::chrono::seconds>(left).count(),
                            std::chrono::nanoseconds(left % 1s).count()};
        const bool some = !composed && ppoll(&ready, 1, &wait, nullptr) > 0;
        if (some)
            wl_display_read_events(display.get());
        else
            wl_display_cancel_read(display.get());
        if (wl_display_dispatch_pending(display.get()) < 0)
            throw std::runtime_error("the compositor has gone");
        if (refused)
            throw std::runtime_error("the screen cannot be read");
        if (!some)
            return;
    }
}

Clock::time_point CompositorMeter::State::next() {
    handle(Clock::now() + kLost);
    if (!composed)
        throw std::runtime_error("the compositor composes nothing new");
    return *composed;
}

// Returns with what is there now, and the next picture asked for.
void CompositorMeter::State::watch(const QRect &area) {
    forgetPart();
    part = area;
    request(false);
    next();
    request(true);
    roundtrip(); // Its answer asks for the copy.
    roundtrip();
}

// Of what is unlike the plain colour in the row that is watched.
std::optional<double> CompositorMeter::State::middle(QRgb plain) const {
    const auto differs = [&](int x) { return ((pixels[x] ^ plain) & 0xffffff) != 0; };
    int from = 0;
    int to = part.width();
    while (from < to && !differs(from))
        ++from;
    while (to > from && !differs(to - 1))
        --to;
    return from < to ? std::optional((from + to) / 2.0) : std::nullopt;
}

CompositorMeter::CompositorMeter(const std::string &socket, const QSize &size)
    : m(std::make_unique<State>()) {
    m->size = size;
    m->display.reset(wl_display_connect(socket.c_str()));
    if (!m->display)
        throw std::runtime_error("no compositor at " + socket);
    static constexpr wl_registry_listener kRegistry{
        .global = [](void *state, wl_registry *, std::uint32_t name, const char *interface,
                     std::uint32_t) { static_cast<State *>(state)->bind(name, interface); },
        .global_remove = [](void *, wl_registry *, std::uint32_t) {}};
    m->registry.reset(wl_display_get_registry(m->display.get()));
    wl_registry_add_listener(m->registry.get(), &kRegistry, m.get());
    m->roundtrip();
    if (!m->shm || !m->output || !m->seat || !m->pointers || !m->copies)
        throw std::runtime_error("the compositor lacks what the meter needs");
    m->hand.reset(zwlr_virtual_pointer_manager_v1_create_virtual_pointer(m->pointers.get(), m->seat.get()));
}

CompositorMeter::~CompositorMeter() = default;

std::vector<double> CompositorMeter::latencies(int events) {
    struct Sent {
        double x;
        Clock::time_point at;
    };
    moveTo(placeOf(0, m->size));
    std::this_thread::sleep_for(100ms);
    m->watch({0, m->size.height() / 2, m->size.width(), 1});
    const QRgb plain = m->pixels[0];
    std::deque<Sent> waiting;
    std::vector<double> taken;
    auto due = Clock::now();
    for (int sent = 0; sent < events || !waiting.empty();) {
        m->handle(sent < events ? due : waiting.back().at + kLost);
        if (m->composed) {
            const auto seen = *m->composed;
            const auto middle = m->middle(plain);
            m->request(true);
            const auto shown = std::find_if(waiting.begin(), waiting.end(), [&](const Sent &each) {
                return middle && std::abs(each.x - *middle) <= kTolerance;
            });
            if (shown != waiting.end()) {
                for (auto each = waiting.begin(); each != shown + 1; ++each)
                    taken.push_back(millisecondsBetween(each->at, seen));
                waiting.erase(waiting.begin(), shown + 1);
            }
        } else if (sent < events) {
            due += kMouseInterval;
            const QPoint place = placeOf(++sent, m->size);
            waiting.push_back({static_cast<double>(place.x()), Clock::now()});
            m->send(place);
        }
        if (!waiting.empty() && Clock::now() > waiting.front().at + kLost)
            throw std::runtime_error("a motion was never shown");
    }
    m->forgetPart();
    return taken;
}

void CompositorMeter::move(int events, int perSecond) {
    const auto interval = std::chrono::nanoseconds(1s) / perSecond;
    auto due = Clock::now();
    for (int i = 0; i < events; ++i) {
        std::this_thread::sleep_until(due += interval);
        m->send(placeOf(i, m->size) + QPoint(0, i % 2));
    }
    m->roundtrip();
}

void CompositorMeter::moveTo(QPoint place) {
    m->send(place);
    m->roundtrip();
}

Clock::time_point CompositorMeter::changed(QPoint pixel, const std::function<void()> &cause) {
    m->watch({pixel, QSize(1, 1)});
    const QRgb before = *m->pixels;
    cause();
    while (true) {
        const auto seen = m->next();
        if (*m->pixels != before) {
            m->forgetPart();
            return seen;
        }
        m->request(true);
    }
}

} // namespace companion::bench
