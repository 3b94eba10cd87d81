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

QImage noise(const QSize &size, std::uint32_t seed) {
    QImage image(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            std::uint32_t value = seed + static_cast<std::uint32_t>(x) * 2654435761U +
                                  static_cast<std::uint32_t>(y) * 2246822519U;
            value = (value ^ (value >> 13)) * 3266489917U;
            image.setPixel(x, y, 0xFF000000U | ((value ^ (value >> 16)) & 0xBFBFBFU));
        }
    }
    return image;
}

Look lensLook(QPoint pointer, int size, int zoom, const QImage &still, const QImage &behind, int ringWidth) {
    const Disc disc(pointer, size);
    const int z = zoom / 10;
    return [=](int x, int y, QRgb seen) {
        const double fromEdge = disc.radius() - disc.distance(x, y);
        if (fromEdge < -1.5)
            return sameColour(seen, behind.pixel(x, y), 0);
        if (std::abs(fromEdge - ringWidth / 2.0) < 0.25)
            return qRed(seen) > 0xE0 && qGreen(seen) > 0xE0 && qBlue(seen) > 0xE0;
        if (fromEdge < ringWidth + 1.5) // The smooth edges of the ring.
            return true;
        if (z == 0)
            return sameColour(seen, behind.pixel(x, y), 0);
        // In an odd lens a pixel's middle can fall on the border of two enlarged ones: either will do.
        const double fromMiddleX = (x + 0.5 - disc.box.x() - disc.radius()) / z;
        const double fromMiddleY = (y + 0.5 - disc.box.y() - disc.radius()) / z;
        for (const double nudgeX : {1e-6, -1e-6}) {
            for (const double nudgeY : {1e-6, -1e-6}) {
                const QPoint from(static_cast<int>(std::floor(pointer.x() + fromMiddleX + nudgeX)),
                                  static_cast<int>(std::floor(pointer.y() + fromMiddleY + nudgeY)));
                const QRgb wanted = still.rect().contains(from) ? still.pixel(from) : behind.pixel(x, y);
                if (sameColour(seen, wanted, 0))
                    return true;
            }
        }
        return false;
    };
}

Look pictureLook(const QImage &picture) {
    return [=](int x, int y, QRgb seen) { return sameColour(seen, picture.pixel(x, y), 0); };
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
