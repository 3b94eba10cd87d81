#pragma once

#include "platform/ports/CursorVisibility.h"
#include "platform/ports/InputMonitor.h"
#include "platform/ports/OverlaySurface.h"
#include "platform/ports/OwnWindows.h"
#include "platform/ports/Platform.h"
#include "platform/ports/ScreenCapture.h"
#include "platform/ports/SyntheticMouse.h"
#include "platform/ports/TrayArea.h"
#include "platform/ports/Watchdog.h"

#include <QImage>

#include <algorithm>
#include <utility>
#include <vector>

namespace companion {

// A surface that shows what it was given on an image, and refuses frames that a real one could not show.
class FakeSurface final : public OverlaySurface {
public:
    Size size() const override { return m_size; }
    QRect area() const override { return {place, image.size()}; }
    double scale() const override { return m_scale; }
    bool translucent() const override { return m_translucent; }
    void onChanged(std::function<void()> listener) override { m_changed = std::move(listener); }
    void setLevel(int) override {}
    void setTakesMouse(bool takes) override { mouse.push_back(takes); }
    void raise() override {}
    void stayBelow(std::uintptr_t) override {}

    void present(const SurfaceFrame &frame, const std::function<void(const PixelPatch &)> &paint) override {
        ++presented;
        paintedPixels = 0;
        for (const auto &fill : frame.fills) {
            for (int y = fill.area.top(); y <= fill.area.bottom(); ++y) {
                auto *row = reinterpret_cast<Pixel *>(image.scanLine(y));
                std::fill(row + fill.area.left(), row + fill.area.right() + 1, fill.pixel);
            }
        }
        for (const QRect &area : frame.patches) {
            const bool first = &area == &frame.patches.front();
            if (!first || frame.picture == 0 || frame.picture != kept.picture || area.size() != kept.size) {
                kept.pixels.assign(
                    static_cast<std::size_t>(area.width()) * static_cast<std::size_t>(area.height()), 0);
                paint({area, kept.pixels.data(), area.width()});
                paintedPixels += area.width() * area.height();
                kept.picture = first ? frame.picture : 0;
                kept.size = area.size();
            }
            for (int y = 0; y < area.height(); ++y)
                std::copy_n(kept.pixels.data() + y * area.width(), area.width(),
                            reinterpret_cast<Pixel *>(image.scanLine(area.top() + y)) + area.left());
        }
        occupied = frame.occupied;
    }

    // As when the screen or the compositor changes: the content is lost.
    void change(Size size, double scale, bool translucent) {
        m_size = size;
        m_scale = scale;
        m_translucent = translucent;
        image =
            QImage(int(size.width * scale), int(size.height * scale), QImage::Format_ARGB32_Premultiplied);
        image.fill(0xdeadbeef); // Whatever is not presented again stays visibly wrong.
        if (m_changed)
            m_changed();
    }

    // Shown without painting when it comes again.
    struct Picture {
        std::uint64_t picture = 0;
        QSize size;
        std::vector<Pixel> pixels;
    };

    QImage image;
    QPoint place; // Of the screen on the desktop.
    Picture kept;
    std::vector<bool> mouse;
    std::vector<QRect> occupied;
    int presented = 0;
    int paintedPixels = 0; // By the program in the last frame; fills are the server's.

private:
    Size m_size;
    double m_scale = 1;
    bool m_translucent = true;
    std::function<void()> m_changed;
};

class FakeInputMonitor final : public InputMonitor {
public:
    bool available() const override { return true; }
    void addGlobalMonitor(unsigned mask, Handler handler) override {
        m_mask = mask;
        m_handler = std::move(handler);
    }
    void followMotion(bool follow) override { following = follow; }
    void send(InputEventType type, Point location = {}, int keyCode = 0) {
        if (m_mask & (1U << static_cast<unsigned>(type)))
            m_handler({type, location, keyCode});
    }

    std::optional<Point> pointer() const override { return at; }

    bool following = false;
    std::optional<Point> at;

private:
    unsigned m_mask = 0;
    Handler m_handler;
};

class FakeMouse final : public SyntheticMouse {
public:
    bool available() const override { return true; }
    void post(SyntheticMouseEvent event, QPointF where) override { posted.emplace_back(event, where); }
    int clicks() const {
        return static_cast<int>(std::count_if(posted.begin(), posted.end(), [](const auto &p) {
            return p.first == SyntheticMouseEvent::LeftMouseUp;
        }));
    }
    std::vector<std::pair<SyntheticMouseEvent, QPointF>> posted;
};

// Answers at once with `picture`, or keeps the question for later.
class FakeCapture final : public ScreenCapture {
public:
    bool available() const override { return true; }
    void captureDesktop(std::function<void(const QImage &)> done) override {
        ++asked;
        if (late)
            waiting.push_back(std::move(done));
        else
            done(picture);
    }
    void probe() override { ++probed; }
    bool late = false;
    int asked = 0;
    int probed = 0;
    QImage picture;
    std::vector<std::function<void(const QImage &)>> waiting;
};

class FakeCursor final : public CursorVisibility {
public:
    bool available() const override { return true; }
    void setHiddenUntilMouseMoves() override { ++hidden; }
    void show() override {}
    int hidden = 0;
};

class FakeTrayArea final : public TrayArea {
public:
    bool present() const override { return false; }
    void onAppeared(std::function<void()>) override {}
};

// Shows what `sight` says.
class FakeOwnWindows final : public OwnWindows {
public:
    void announce(Window, const std::string &startupId) override { calls.push_back("announce " + startupId); }
    void startupEnded(const std::string &startupId) override { calls.push_back("ended " + startupId); }
    Window owner() const override { return theOwner; }
    void activate(Window, const std::string &startupId) override { calls.push_back("activate " + startupId); }
    Sight look(Window) const override { return sight; }

    Sight sight = Sight::Seen;
    Window theOwner = 0;
    std::vector<std::string> calls;
};

class FakeWatchdog final : public Watchdog {
public:
    void setOn(bool turnedOn) override { on = turnedOn; }
    void onRecovered(std::function<void()> listener) override { recovered = std::move(listener); }
    bool on = false;
    std::function<void()> recovered;
};

class FakePlatform final : public Platform {
public:
    std::string_view name() const override { return "fake"; }
    void scaleMayHaveChanged() override {}
    FakeSurface &surface() override { return fakeSurface; }
    FakeInputMonitor &inputMonitor() override { return monitor; }
    FakeMouse &syntheticMouse() override { return mouse; }
    FakeCapture &screenCapture() override { return capture; }
    FakeCursor &cursor() override { return fakeCursor; }
    FakeTrayArea &trayArea() override { return fakeTrayArea; }
    FakeOwnWindows &ownWindows() override { return windows; }
    FakeWatchdog &watchdog() override { return fakeWatchdog; }

    FakeSurface fakeSurface;
    FakeInputMonitor monitor;
    FakeMouse mouse;
    FakeCapture capture;
    FakeCursor fakeCursor;
    FakeTrayArea fakeTrayArea;
    FakeOwnWindows windows;
    FakeWatchdog fakeWatchdog;
};

} // namespace companion
