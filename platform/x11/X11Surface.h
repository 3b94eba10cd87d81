#pragma once

#include "platform/ports/OverlaySurface.h"
#include "platform/x11/X11CompositorWatch.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11Painter.h"
#include "platform/x11/X11Screens.h"
#include "platform/x11/X11Shape.h"
#include "platform/x11/X11Stacking.h"

namespace companion {

// The overlay: two windows of the main screen's size that no window manager touches. The drawn one never
// takes the mouse, whatever its outline; the invisible one takes it everywhere or nowhere. Neither ever has
// the keyboard. The server keeps the drawn window's content.
class X11Surface final : public OverlaySurface {
public:
    // Null, with the reason, on a server without translucent windows.
    static std::unique_ptr<X11Surface> make(X11Connection &connection, X11Screens &screens,
                                            X11CompositorWatch &compositor, std::string &error);

    // Of windows with an alpha channel; 0, with the reason, when the server has none.
    static xcb_visualid_t translucentVisual(const xcb_screen_t &screen, std::string &error);

    Size size() const override { return m_screens.size(); }
    double scale() const override { return m_screens.scale(); }
    bool translucent() const override { return m_compositor.running(); }
    void onChanged(std::function<void()> listener) override { m_listener = std::move(listener); }
    void setLevel(int level) override;
    void setTakesMouse(bool takes) override;
    void raise() override { m_stacking.raise(); }
    void stayBelow(std::uintptr_t nativeWindow) override {
        m_stacking.stayBelow(static_cast<xcb_window_t>(nativeWindow));
    }

    // For whoever takes the overlay out of the way behind this object's back, and puts it right afterwards.
    xcb_window_t drawn() const { return m_drawn; }
    xcb_window_t catcher() const { return m_catcher; }
    void putRight();

    void present(const SurfaceFrame &frame, const X11Painter::PaintPatch &paint) override;

private:
    X11Surface(X11Connection &connection, X11Screens &screens, X11CompositorWatch &compositor,
               xcb_visualid_t visual);

    xcb_window_t createDrawn(xcb_visualid_t visual);
    xcb_window_t createCatcher();
    void follow();
    void shapeCatcher();
    void startOver();
    void presentBlended(const SurfaceFrame &frame, const X11Painter::PaintPatch &paint);
    void presentOpaque(const SurfaceFrame &frame, const X11Painter::PaintPatch &paint);
    QRect area() const { return QRect(QPoint(0, 0), m_screens.mainScreen().size()); }

    X11Connection &m_connection;
    X11Screens &m_screens;
    X11CompositorWatch &m_compositor;
    std::function<void()> m_listener;
    xcb_window_t m_drawn;
    xcb_window_t m_catcher;
    X11Stacking m_stacking;
    X11Shape m_shape;
    X11Painter m_painter;
    bool m_inFront = false;
    bool m_takesMouse = false;
    std::vector<xcb_rectangle_t> m_rectangles; // Scratch.
};

} // namespace companion
