#pragma once

#include "support/rig/Desktop.h"

#include <QPoint>

#include <cstdint>
#include <functional>
#include <vector>

#include <sys/types.h>

namespace companion::bench {

// A pixel's place beside the pointer that changes when an effect arrives there, and not before.
struct Edge {
    int near; // Points from the effect's middle in the direction of a small step.
    int far;  // Points to the right of its middle after a jump.
};

// Moves the pointer as a hand would and watches one pixel of the screen.
class PointerMeter {
public:
    explicit PointerMeter(const rig::Desktop &desktop);
    ~PointerMeter();
    PointerMeter(const PointerMeter &) = delete;
    PointerMeter &operator=(const PointerMeter &) = delete;

    // Milliseconds from each motion to the changed pixel. Steps of 9 points to and fro, or jumps all over the
    // screen. A pixel that never changes ends the meter: a figure that leaves out the worst is none.
    std::vector<double> stepLatencies(int events, const Edge &edge);
    std::vector<double> jumpLatencies(int events, const Edge &edge);

    // Nothing but motions, so many a second, each on time.
    void move(int events, int perSecond);

    std::uint32_t pixel(QPoint at);
    // Asks until the pixel is another one; returns how long that took, in milliseconds.
    double untilChanged(QPoint at, std::uint32_t from, double limit);

private:
    double latency(QPoint to, QPoint watched);
    void send(QPoint to);

    const QSize m_size;
    rig::XConnection m_connection;
    int m_segment;
    std::uint32_t m_segmentId;
    volatile const std::uint32_t *m_pixel;
    QPoint m_at;
};

} // namespace companion::bench
