#include "meter/PointerMeter.h"

#include <xcb/shm.h>
#include <xcb/xtest.h>

#include <sys/ipc.h>
#include <sys/shm.h>

#include <chrono>
#include <random>
#include <stdexcept>
#include <thread>

namespace companion::bench {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr int kStep = 9;
constexpr auto kPause = 8ms; // Between events: what a mouse of 125 Hz leaves.
constexpr double kLost = 1000;

double since(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

} // namespace

PointerMeter::PointerMeter(const rig::Desktop &desktop)
    : m_size(desktop.size()),
      m_connection(desktop.display()),
      m_segment(shmget(IPC_PRIVATE, sizeof(std::uint32_t), IPC_CREAT | 0600)),
      m_segmentId(xcb_generate_id(m_connection)),
      m_pixel(static_cast<const std::uint32_t *>(shmat(m_segment, nullptr, 0))),
      m_at(desktop.centre()) {
    xcb_shm_attach(m_connection, m_segmentId, static_cast<std::uint32_t>(m_segment), 0);
    m_connection.sync();
    shmctl(m_segment, IPC_RMID, nullptr); // It lives on while it is attached.
}

PointerMeter::~PointerMeter() {
    shmdt(const_cast<const std::uint32_t *>(m_pixel));
}

std::uint32_t PointerMeter::pixel(QPoint at) {
    const auto cookie = xcb_shm_get_image(
        m_connection, m_connection.root(), static_cast<std::int16_t>(at.x()),
        static_cast<std::int16_t>(at.y()), 1, 1, ~0U, XCB_IMAGE_FORMAT_Z_PIXMAP, m_segmentId, 0);
    const rig::XcbPtr<xcb_shm_get_image_reply_t> reply(
        xcb_shm_get_image_reply(m_connection, cookie, nullptr));
    if (!reply)
        throw std::runtime_error("the screen cannot be read");
    return *m_pixel & 0xffffff;
}

double PointerMeter::untilChanged(QPoint at, std::uint32_t from, double limit) {
    const auto start = Clock::now();
    while (pixel(at) == from)
        if (since(start) > limit)
            throw std::runtime_error("pixel " + std::to_string(at.x()) + "," + std::to_string(at.y()) +
                                     " never changed");
    return since(start);
}

void PointerMeter::send(QPoint to) {
    xcb_test_fake_input(m_connection, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, m_connection.root(),
                        static_cast<std::int16_t>(to.x()), static_cast<std::int16_t>(to.y()), 0);
    xcb_flush(m_connection);
    m_at = to;
}

double PointerMeter::latency(QPoint to, QPoint watched) {
    const std::uint32_t before = pixel(watched);
    const auto start = Clock::now();
    send(to);
    untilChanged(watched, before, kLost);
    const double taken = since(start);
    std::this_thread::sleep_for(kPause);
    return taken;
}

std::vector<double> PointerMeter::stepLatencies(int events, const Edge &edge) {
    constexpr int run = 30; // Steps before it turns round.
    send(QPoint(m_size.width() / 2, m_size.height() / 2));
    std::this_thread::sleep_for(100ms);
    std::vector<double> taken;
    for (int i = 0; i < events; ++i) {
        const int direction = i / run % 2 == 0 ? 1 : -1;
        const QPoint to = m_at + QPoint(direction * kStep, 0);
        // Pixel x lies between x and x + 1.
        taken.push_back(latency(to, to + QPoint(direction > 0 ? edge.near : -edge.near - 1, 0)));
    }
    return taken;
}

std::vector<double> PointerMeter::jumpLatencies(int events, const Edge &edge) {
    std::mt19937 random(5); // The same for every program measured.
    std::uniform_int_distribution<int> x(200, m_size.width() - 200);
    std::uniform_int_distribution<int> y(200, m_size.height() - 200);
    std::vector<double> taken;
    while (static_cast<int>(taken.size()) < events) {
        const QPoint to(x(random), y(random));
        if ((to - m_at).manhattanLength() > 400)
            taken.push_back(latency(to, to + QPoint(edge.far, 0)));
    }
    return taken;
}

void PointerMeter::move(int events, int perSecond) {
    const auto interval = std::chrono::nanoseconds(1'000'000'000LL / perSecond);
    auto due = Clock::now();
    for (int i = 0; i < events; ++i) {
        std::this_thread::sleep_until(due += interval);
        const int direction = i / 60 % 2 == 0 ? 1 : -1;
        send(m_at + QPoint(direction * kStep, i % 2 == 0 ? 1 : -1));
    }
    m_connection.sync();
}

} // namespace companion::bench
