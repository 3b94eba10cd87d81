#include "platform/null/NullPlatform.h"

#include "core/Log.h"
#include "platform/ports/CursorVisibility.h"
#include "platform/ports/InputMonitor.h"
#include "platform/ports/OverlaySurface.h"
#include "platform/ports/OwnWindows.h"
#include "platform/ports/ScreenCapture.h"
#include "platform/ports/SyntheticMouse.h"
#include "platform/ports/TrayArea.h"
#include "platform/ports/Watchdog.h"

namespace companion {

namespace {

class NullSurface final : public OverlaySurface {
public:
    Size size() const override { return {}; }
    QRect area() const override { return {}; }
    double scale() const override { return 1; }
    bool translucent() const override { return false; }
    void onChanged(std::function<void()>) override {}
    void setLevel(int) override {}
    void setTakesMouse(bool) override {}
    void raise() override {}
    void stayBelow(std::uintptr_t) override {}
    void present(const SurfaceFrame &, const std::function<void(const PixelPatch &)> &) override {}
};

class NullInputMonitor final : public InputMonitor {
public:
    bool available() const override { return false; }
    void addGlobalMonitor(unsigned, Handler) override {}
    std::optional<Point> pointer() const override { return std::nullopt; }
    void followMotion(bool) override {}
};

class NullSyntheticMouse final : public SyntheticMouse {
public:
    bool available() const override { return false; }
    void post(SyntheticMouseEvent, QPointF) override {}
};

class NullScreenCapture final : public ScreenCapture {
public:
    bool available() const override { return false; }
    void captureDesktop(std::function<void(const QImage &)> done) override { done(QImage()); }
    void probe() override {}
};

class NullCursor final : public CursorVisibility {
public:
    bool available() const override { return false; }
    void setHiddenUntilMouseMoves() override {}
    void show() override {}
};

class NullTrayArea final : public TrayArea {
public:
    bool present() const override { return false; }
    void onAppeared(std::function<void()>) override {}
};

class NullOwnWindows final : public OwnWindows {
public:
    void announce(Window, const std::string &) override {}
    void startupEnded(const std::string &) override {}
    Window owner() const override { return 0; }
    void activate(Window, const std::string &) override {}
    Sight look(Window) const override { return Sight::Unknown; }
};

class NullWatchdog final : public Watchdog {
public:
    void setOn(bool) override {}
    void onRecovered(std::function<void()>) override {}
};

class NullPlatform final : public Platform {
public:
    NullPlatform() { Log::line("no display: nothing is drawn and the mouse and keyboard are not followed"); }

    std::string_view name() const override { return "null"; }
    void scaleMayHaveChanged() override {}
    OverlaySurface &surface() override { return m_surface; }
    InputMonitor &inputMonitor() override { return m_inputMonitor; }
    SyntheticMouse &syntheticMouse() override { return m_syntheticMouse; }
    ScreenCapture &screenCapture() override { return m_screenCapture; }
    CursorVisibility &cursor() override { return m_cursor; }
    TrayArea &trayArea() override { return m_trayArea; }
    OwnWindows &ownWindows() override { return m_windows; }
    Watchdog &watchdog() override { return m_watchdog; }

private:
    NullSurface m_surface;
    NullInputMonitor m_inputMonitor;
    NullSyntheticMouse m_syntheticMouse;
    NullScreenCapture m_screenCapture;
    NullCursor m_cursor;
    NullTrayArea m_trayArea;
    NullOwnWindows m_windows;
    NullWatchdog m_watchdog;
};

} // namespace

std::unique_ptr<Platform> makeNullPlatform() {
    return std::make_unique<NullPlatform>();
}

} // namespace companion
