#include "platform/x11/X11Platform.h"

#include "core/Lifetime.h"
#include "platform/x11/X11Capture.h"
#include "platform/x11/X11CompositorWatch.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Cursor.h"
#include "platform/x11/X11InputMonitor.h"
#include "platform/x11/X11Screens.h"
#include "platform/x11/X11Surface.h"
#include "platform/x11/X11SyntheticMouse.h"
#include "platform/x11/X11TrayArea.h"
#include "platform/x11/X11Watchdog.h"
#include "platform/x11/X11Windows.h"
#include "platform/x11/X11WindowsPicture.h"

namespace companion {

namespace {

// Destroyed from the bottom up: the connection goes last.
class X11Platform final : public Platform {
public:
    X11Platform(std::unique_ptr<X11Connection> connection, const X11Needs &needs, bool xwayland,
                std::string &error)
        : m_connection(std::move(connection)),
          m_screens(*m_connection, needs.queue, needs.screen, needs.scale),
          m_compositor(*m_connection),
          m_surface(X11Surface::make(*m_connection, needs.queue, m_screens, m_compositor, error)),
          m_inputMonitor(*m_connection, m_screens,
                         xwayland ? X11InputMonitor::Source::OwnWindow : X11InputMonitor::Source::Root,
                         xwayland ? needs.slideKeys : nullptr),
          m_syntheticMouse(*m_connection, m_screens, feigning(needs, xwayland)),
          m_capture(*m_connection, m_screens, needs.queue, xwayland ? needs.pictures : nullptr),
          m_cursor(*m_connection),
          m_trayArea(*m_connection),
          m_windows(*m_connection),
          m_watchdog(needs.queue, needs.displayName, m_surface.get(), m_cursor) {
        m_inputMonitor.onRawMotion([this](unsigned sequence) { return m_cursor.mouseMoved(sequence); });
        m_cursor.onHidden([this] { m_inputMonitor.awaitMotion(); });
        m_connection->waitUntilProcessed(); // From here on no event is missed.
    }

    bool complete() const { return m_surface != nullptr; }

    std::string_view name() const override { return "x11"; }
    void scaleMayHaveChanged() override { m_screens.refreshSoon(); }
    OverlaySurface &surface() override { return *m_surface; }
    InputMonitor &inputMonitor() override { return m_inputMonitor; }
    SyntheticMouse &syntheticMouse() override { return m_syntheticMouse; }
    ScreenCapture &screenCapture() override { return m_capture; }
    CursorVisibility &cursor() override { return m_cursor; }
    TrayArea &trayArea() override { return m_trayArea; }
    OwnWindows &ownWindows() override { return m_windows; }
    Watchdog &watchdog() override { return m_watchdog; }

private:
    std::optional<X11SyntheticMouse::Xwayland> feigning(const X11Needs &needs, bool xwayland) {
        if (!xwayland)
            return std::nullopt;
        const auto assume = [this, &queue = needs.queue](QPoint place) {
            queue.post(std::chrono::milliseconds(0),
                       m_lifetime.guard([this, place] { m_inputMonitor.assume(place); }));
        };
        return X11SyntheticMouse::Xwayland{needs.queue, needs.mouse, assume};
    }

    std::unique_ptr<X11Connection> m_connection;
    X11Screens m_screens;
    X11CompositorWatch m_compositor;
    std::unique_ptr<X11Surface> m_surface;
    X11InputMonitor m_inputMonitor;
    X11SyntheticMouse m_syntheticMouse;
    X11Capture m_capture;
    X11Cursor m_cursor;
    X11TrayArea m_trayArea;
    X11Windows m_windows;
    X11Watchdog m_watchdog; // Its thread ends before what it uses.
    Lifetime m_lifetime;
};

} // namespace

std::unique_ptr<Platform> makeX11Platform(const X11Needs &needs, std::string &error) {
    auto connection = X11Connection::open(needs.queue, needs.displayName, error);
    if (!connection)
        return nullptr;
    const bool xwayland = isXwayland(*connection);
    auto platform = std::make_unique<X11Platform>(std::move(connection), needs, xwayland, error);
    if (!platform->complete())
        return nullptr;
    return platform;
}

bool x11ServerAnswers(std::string &error) {
    return X11Connection::connect({}, error).xcb != nullptr;
}

bool x11ServerSuffices(std::string &error) {
    const auto link = X11Connection::connect({}, error);
    return link.xcb && X11Connection::suffices(link, error) && X11Surface::possible(link, error);
}

} // namespace companion
