#include "overlay/StillCapture.h"

#include "core/Log.h"
#include "overlay/OverlayCanvas.h"
#include "platform/ports/ScreenCapture.h"

#include <utility>

using namespace std::chrono_literals;

namespace companion {
namespace {

constexpr auto kPatience = 200ms; // A desktop without an effect is worse than a lens without a picture.

} // namespace

StillCapture::StillCapture(MainQueue &queue, OverlayCanvas &canvas, ScreenCapture &capture, Taken taken)
    : m_queue(queue),
      m_canvas(canvas),
      m_capture(capture),
      m_taken(std::move(taken)) {}

void StillCapture::take(const QRect &lookedAt) {
    const std::uint64_t number = ++m_requests;
    m_open.emplace(number, lookedAt);
    m_canvas.setOutOfSight(lookedAt, true);
    m_queue.post(kLeavingTime, m_lifetime.guard([this, number] { ask(number); }));
}

void StillCapture::ask(std::uint64_t number) {
    const auto answer = [this, number, overlay = m_canvas.shownAreas()](const QImage &picture) {
        if (picture.isNull() && m_open.contains(number))
            Log::line("no picture of the screen: the magnifier stays empty");
        finish(number, picture, overlay);
    };
    m_capture.captureDesktop(m_lifetime.guard(answer));
    if (m_open.contains(number))
        m_queue.post(kPatience, m_lifetime.guard([this, number] { giveUp(number); }));
}

void StillCapture::giveUp(std::uint64_t number) {
    if (!m_open.contains(number))
        return;
    Log::line("the picture of the screen is late and left out: the magnifier stays empty");
    finish(number, {});
}

void StillCapture::finish(std::uint64_t number, const QImage &picture, const std::vector<QRect> &overlay) {
    const auto request = m_open.find(number);
    if (request == m_open.end())
        return; // Given up before. By now the overlay itself may be in the picture.
    m_canvas.setOutOfSight(request->second, false);
    m_open.erase(request);
    if (number < m_answered)
        return;
    m_answered = number;
    m_taken(picture, overlay);
}

} // namespace companion
