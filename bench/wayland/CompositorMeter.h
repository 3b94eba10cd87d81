#pragma once

#include <QPoint>
#include <QSize>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace companion::bench {

// Moves the pointer of a compositor of wlroots' kind as a hand would, and sees each picture that it composes.
// The times of pictures are the compositor's own. One screen of scale 1.
class CompositorMeter {
public:
    using Clock = std::chrono::steady_clock; // The one that compositors count by.

    CompositorMeter(const std::string &socket, const QSize &size);
    ~CompositorMeter();

    // So many motions at 125 Hz, to and fro. Milliseconds from each of them to the first picture that shows
    // an effect of one colour on a slide of one colour there, or at the place of a later motion. One that is
    // never shown ends the meter: a figure that leaves out the worst is none.
    std::vector<double> latencies(int events);

    // Nothing but motions, so many a second, each on time.
    void move(int events, int perSecond);
    void moveTo(QPoint place);

    // The time of the first picture after `cause` in which this pixel is another one.
    Clock::time_point changed(QPoint pixel, const std::function<void()> &cause);

private:
    struct State;
    std::unique_ptr<State> m;
};

} // namespace companion::bench
