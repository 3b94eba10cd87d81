#include "e2e/Talk.h"

#include <cmath>

namespace companion::rig {
namespace {

// A pixel whose middle is this far from the edge is not touched by it; a disc half a pixel off fails.
constexpr double kRim = 0.8;

// The first pixels that are wrong, in words; nothing if all are right.
std::string faults(const QImage &image, const Look &look, int most = 4) {
    std::string text;
    for (int y = 0, count = 0; y < image.height(); ++y) {
        const auto *row = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (look(x, y, row[x]))
                continue;
            text += QStringLiteral(" (%1,%2) is %3;").arg(x).arg(y).arg(row[x], 8, 16).toStdString();
            if (++count == most)
                return text;
        }
    }
    return text;
}

bool matches(const QImage &image, const Look &look) {
    return faults(image, look, 1).empty();
}

int mix(int below, int over, double alpha) {
    return static_cast<int>(std::lround(below * (1 - alpha) + over * alpha));
}

} // namespace

QRgb blend(QRgb below, QRgb over, double alpha) {
    return qRgb(mix(qRed(below), qRed(over), alpha), mix(qGreen(below), qGreen(over), alpha),
                mix(qBlue(below), qBlue(over), alpha));
}

bool between(QRgb seen, QRgb a, QRgb b) {
    const auto within = [](int value, int one, int other) {
        return value >= std::min(one, other) - 1 && value <= std::max(one, other) + 1;
    };
    return within(qRed(seen), qRed(a), qRed(b)) && within(qGreen(seen), qGreen(a), qGreen(b)) &&
           within(qBlue(seen), qBlue(a), qBlue(b));
}

// Half the size is a whole number: an odd disc reaches one pixel further to the right and up.
Disc::Disc(QPoint pointer, int size)
    : box(pointer.x() - size / 2, pointer.y() + size / 2 - size, size, size) {}

double Disc::distance(int x, int y) const {
    return std::hypot(x + 0.5 - (box.x() + radius()), y + 0.5 - (box.y() + radius()));
}

Look discLook(const Disc &disc, QRgb inside, QRgb outside) {
    return [=](int x, int y, QRgb seen) {
        const double beyond = disc.distance(x, y) - disc.radius();
        if (beyond < -kRim)
            return sameColour(seen, inside);
        return beyond > kRim ? sameColour(seen, outside) : between(seen, inside, outside);
    };
}

Look plainLook(QRgb colour) {
    return [=](int, int, QRgb seen) { return sameColour(seen, colour, 0); };
}

// Where there are several monitors, a window manager would put a full-screen window on one of them.
Talk::Talk(const CompanionProcess::Options &program, const DesktopOptions &options)
    : desktop(options),
      screen(desktop),
      hand(desktop),
      slide(desktop,
            options.monitors.empty() ? TestWindow::Kind::FullScreen : TestWindow::Kind::OverrideRedirect,
            kSlideColour, QRect(QPoint(0, 0), options.size)),
      companion(desktop, program) {
    expectPlainSlide();
}

Talk::Talk(const Settings &settings, const DesktopOptions &options)
    : Talk(CompanionProcess::Options{.settings = settings}, options) {}

milliseconds Talk::expectLook(const std::string &what, const Look &look, milliseconds limit) const {
    QImage last;
    try {
        return screen.waitFor(
            what, QRect(QPoint(0, 0), desktop.size()),
            [&](const QImage &image) {
                last = image;
                return matches(image, look);
            },
            limit);
    } catch (const WaitTimeout &timeout) {
        throw WaitTimeout(std::string(timeout.what()) + "; wrong are" + faults(last, look));
    }
}

void Talk::expectLookStays(const std::string &what, const Look &look, milliseconds time) const {
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) {
        const QImage image = screen.grab();
        if (!matches(image, look))
            throw std::runtime_error(what + " did not stay: " + faults(image, look) + " see " +
                                     keepPicture(image, what));
        letTimePass(5ms);
    }
}

bool Talk::effectSeen() const {
    return !matches(screen.grab(), [](int, int, QRgb seen) { return sameColour(seen, kSlideColour); });
}

void Talk::expectSpotlight(QPoint at, const QRect &monitor, double scale) {
    const QRect main = monitor.isValid() ? monitor : QRect(QPoint(0, 0), desktop.size());
    const QRect reached = main.adjusted(0, static_cast<int>(kFreeRows * scale), 0, 0);
    hand.move(at);
    expectLook("a spotlight", [reached, disc = discLook(Disc(at, static_cast<int>(100 * scale)), kSlideColour,
                                                        kDimmed)](int x, int y, QRgb seen) {
        return reached.contains(x, y) ? disc(x, y, seen) : sameColour(seen, kSlideColour, 0);
    });
}

void Talk::expectFree(QPoint at) {
    slide.forget();
    hand.clickAt(at);
    waitUntil("a click below", [&] { return slide.pressedAt(at); });
}

milliseconds Talk::expectPlainSlide(milliseconds limit) const {
    return expectLook("the slide and nothing else", plainLook(kSlideColour), limit);
}

} // namespace companion::rig
