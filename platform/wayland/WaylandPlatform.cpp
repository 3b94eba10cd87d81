#include "platform/wayland/WaylandPlatform.h"

#include "core/Log.h"
#include "core/ProcessEnd.h"
#include "platform/ports/TrayArea.h"
#include "platform/wayland/WaylandCapture.h"
#include "platform/wayland/WaylandConnection.h"
#include "platform/wayland/WaylandCursor.h"
#include "platform/wayland/WaylandInputMonitor.h"
#include "platform/wayland/WaylandMouse.h"
#include "platform/wayland/WaylandOutputs.h"
#include "platform/wayland/WaylandPointers.h"
#include "platform/wayland/WaylandSurface.h"
#include "platform/wayland/WaylandWatchdog.h"
#include "platform/wayland/WaylandWindows.h"

#include <mutex>

namespace companion {
namespace {

// The older kind of tray is X11's.
class NoTrayArea final : public TrayArea {
public:
    bool present() const override { return false; }
    void onAppeared(std::function<void()>) override {}
};

// Destroyed from the bottom up: the connection goes last.
class WaylandPlatform final : public Platform {
public:
    WaylandPlatform(std::unique_ptr<WaylandConnection> connection, const WaylandNeeds &needs)
        : m_connection(std::move(connection)),
          m_outputs(*m_connection, needs.screen),
          m_surface(*m_connection, needs.queue, m_outputs),
          m_inputMonitor(*m_connection, needs.queue, m_surface, needs.slideKeys),
          m_pointers(*m_connection,
                     {.entered = [this](double x, double y) { m_inputMonitor.moved(x, y, 0); },
                      .moved =
                          [this](double x, double y, unsigned buttons) {
                              m_cursor.show();
                              m_inputMonitor.moved(x, y, buttons);
                          },
                      .released = [this](unsigned button) { m_inputMonitor.released(button); }}),
          m_cursor(*m_connection, m_pointers, m_outputs),
          m_syntheticMouse(*m_connection, m_outputs, m_surface, needs.mouse),
          m_capture(*m_connection, needs.queue, m_outputs, needs.pictures),
          m_watchdog(needs.queue, *m_connection, m_surface) {
        m_syntheticMouse.onMoved([this](Point at) {
            if (m_syntheticMouse.available() || !m_inputMonitor.pointer())
                m_inputMonitor.placed(at);
        });
        m_connection->waitUntilAnswered(); // What the seats have is known from here on.
    }

    std::string_view name() const override { return "wayland"; }
    void scaleMayHaveChanged() override {} // The compositor tells it itself.
    OverlaySurface &surface() override { return m_surface; }
    InputMonitor &inputMonitor() override { return m_inputMonitor; }
    SyntheticMouse &syntheticMouse() override { return m_syntheticMouse; }
    ScreenCapture &screenCapture() override { return m_capture; }
    CursorVisibility &cursor() override { return m_cursor; }
    TrayArea &trayArea() override { return m_trayArea; }
    OwnWindows &ownWindows() override { return m_windows; }
    Watchdog &watchdog() override { return m_watchdog; }

private:
    std::unique_ptr<WaylandConnection> m_connection;
    WaylandOutputs m_outputs;
    WaylandSurface m_surface;
    WaylandInputMonitor m_inputMonitor;
    WaylandPointers m_pointers;
    WaylandCursor m_cursor;
    WaylandMouse m_syntheticMouse;
    WaylandCapture m_capture;
    NoTrayArea m_trayArea;
    WaylandWindows m_windows;
    WaylandWatchdog m_watchdog; // Its thread ends before what it uses.
};

} // namespace

std::unique_ptr<Platform> makeWaylandPlatform(const WaylandNeeds &needs, std::string &error) {
    auto connection = WaylandConnection::open(needs.queue, error);
    if (!connection)
        return nullptr;
    return std::make_unique<WaylandPlatform>(std::move(connection), needs);
}

void endWithoutCompositor() {
    static std::mutex s_ending;
    s_ending.lock(); // For good.
    Log::line("the Wayland compositor has gone; the program ends");
    ProcessEnd::with(1);
}

bool waylandSuffices(std::string &error) {
    return WaylandConnection::reach(error) != nullptr;
}

} // namespace companion
