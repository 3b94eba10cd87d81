#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"

#include <QImage>
#include <QRect>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

namespace companion {

class OverlayCanvas;
class ScreenCapture;

// Takes still pictures of the screen without the overlay where they are looked at: what of it reaches there
// is out of sight from the request until the answer, but never for longer than 300 ms, however long the
// platform takes.
class StillCapture {
public:
    // For the overlay to leave the screen, and for the windows below to show what is theirs.
    static constexpr std::chrono::milliseconds kLeavingTime{100};

    // A null picture: refused, or too late. `overlay`: where the overlay itself may be in it, device pixels.
    using Taken = std::function<void(const QImage &picture, const std::vector<QRect> &overlay)>;

    // All of it must outlive the object.

    StillCapture(MainQueue &queue, OverlayCanvas &canvas, ScreenCapture &capture, Taken taken);

    // The picture is asked for 100 ms from now, when the overlay has left the area that is looked at (device
    // pixels). Requests that overlap all run; an answer that comes after that to a later request no longer
    // counts.
    void take(const QRect &lookedAt);

private:
    void ask(std::uint64_t number);
    void giveUp(std::uint64_t number);
    void finish(std::uint64_t number, const QImage &picture, const std::vector<QRect> &overlay = {});

    MainQueue &m_queue;
    OverlayCanvas &m_canvas;
    ScreenCapture &m_capture;
    Taken m_taken;
    std::uint64_t m_requests = 0;
    std::uint64_t m_answered = 0;          // The latest request that has been.
    std::map<std::uint64_t, QRect> m_open; // With what they look at.
    Lifetime m_lifetime;
};

} // namespace companion
