#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "platform/ports/OverlaySurface.h"
#include "platform/x11/X11CompositorWatch.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Painter.h"
#include "platform/x11/X11Pane.h"
#include "platform/x11/X11Screens.h"
#include "platform/x11/X11Shape.h"
#include "platform/x11/X11Stacking.h"
#include "platform/x11/X11Still.h"

#include <array>
#include <optional>

namespace companion {

// The overlay: a window of its screen's size that no window manager touches and that never has the keyboard,
// on the screen only while it shows something or takes the mouse. The server keeps its content.
//
// Where nothing blends windows it has holes wherever nothing shows, and would not take the mouse there: an
// invisible second window does.
class X11Surface final : public OverlaySurface {
public:
    // Null, with the reason, on a server without translucent windows.
    static std::unique_ptr<X11Surface> make(X11Connection &connection, MainQueue &queue, X11Screens &screens,
                                            X11CompositorWatch &compositor, std::string &error);

    // Whether the server has what the overlay's windows stand on; `error` says what it lacks.
    static bool possible(const X11Connection::Link &link, std::string &error);

    Size size() const override { return m_screens.size(); }
    QRect area() const override { return m_screens.area(); }
    double scale() const override { return m_screens.scale(); }
    bool translucent() const override { return m_blends; }
    void onChanged(std::function<void()> listener) override { m_listener = std::move(listener); }
    void setLevel(int level) override;
    void setTakesMouse(bool takes) override;
    void raise() override;
    void stayBelow(std::uintptr_t nativeWindow) override {
        m_stacking.stayBelow(static_cast<xcb_window_t>(nativeWindow));
    }

    // For whoever takes the overlay out of the way behind this object's back, and puts it right afterwards.
    std::array<xcb_window_t, 2> windows() const { return {m_drawn.window(), m_catcher.window()}; }
    void putRight();

    void present(const SurfaceFrame &frame, const X11Painter::PaintPatch &paint) override;

private:
    X11Surface(X11Connection &connection, MainQueue &queue, X11Screens &screens,
               X11CompositorWatch &compositor, xcb_visualid_t visual, const X11Still::Formats &formats);

    void follow();
    void followCompositor();
    void awaitBlending(int tries);
    void setBlends(bool blends);
    void checkSoon();
    void check();
    void setBackground(std::optional<Pixel> pixel);
    void showExposed();
    void arrange();
    void startOver();
    void presentBlended(const SurfaceFrame &frame, const X11Painter::PaintPatch &paint);
    void presentOverStill(const SurfaceFrame &frame, const X11Painter::PaintPatch &paint);
    void comeUp(const SurfaceFrame &frame);
    QRect all() const { return QRect(QPoint(0, 0), area().size()); }

    X11Connection &m_connection;
    MainQueue &m_queue;
    X11Screens &m_screens;
    X11CompositorWatch &m_compositor;
    std::function<void()> m_listener;
    X11Pane m_drawn;
    X11Pane m_catcher;
    X11Stacking m_stacking;
    X11Shape m_shape;
    X11Still m_still;
    X11Painter m_painter;
    std::optional<Pixel> m_background = 0;
    bool m_blends = false;
    bool m_mayBlendAgain = false; // A compositor has come, but is not at work yet.
    bool m_settling = false;      // The desktop shows itself again, for a still to be taken.
    bool m_checkPosted = false;
    bool m_inFront = false;
    bool m_takesMouse = false;
    bool m_occupied = false;
    QRect m_exposed; // Since the last batch of events.
    // Kept for their memory.
    std::vector<xcb_rectangle_t> m_rectangles;
    std::vector<SurfaceFrame::Fill> m_fills;
    std::vector<QRect> m_areas;
    Lifetime m_lifetime;
};

} // namespace companion
