#pragma once

#include "platform/x11/X11Connection.h"

#include <QRect>
#include <QRegion>

#include <xcb/render.h>

#include <optional>

namespace companion {

// Does in the server what a compositor would do, with a still of the desktop in place of the live one: the
// overlay is drawn on a sheet apart, laid over the still, and brought to its window without transparency.
//
// A piece of the desktop is taken when the overlay first covers it, so from a screen that shows nothing of
// the overlay there. All places are the overlay's, in device pixels.
class X11Still {
public:
    struct Formats {
        xcb_render_pictformat_t sheet; // 32 bits with alpha.
        xcb_render_pictformat_t desktop;
    };
    // Nothing when the server cannot blend its own screen's pixels.
    static std::optional<Formats> formatsOf(const X11Connection::Link &link);

    // The window has 32-bit pixels.
    X11Still(X11Connection &connection, xcb_window_t window, const Formats &formats);
    X11Still(const X11Still &) = delete;
    X11Still &operator=(const X11Still &) = delete;

    bool begun() const { return m_sheet != XCB_NONE; }
    // For an overlay there on the desktop. Holds two pictures of that size in the server until the end.
    void begin(const QRect &area);
    void end();

    // To draw on, with 32-bit pixels.
    xcb_drawable_t sheet() const { return m_sheet; }

    // What lies below there, as far as it is not known yet.
    void take(const QRect &area);
    // Lays what has been drawn there over it. Once for each drawing.
    void blend(const QRect &area);
    // Brings what has been blended there to the window.
    void show(const QRect &area) const;

private:
    xcb_pixmap_t makePixmap(xcb_render_picture_t &picture);
    void freePixmap(xcb_pixmap_t &pixmap, xcb_render_picture_t &picture);
    void copyDesktop(const QRect &area);

    X11Connection &m_connection;
    const xcb_window_t m_window;
    const xcb_render_pictformat_t m_format;
    const xcb_gcontext_t m_gc;
    const xcb_render_picture_t m_root;
    QRect m_area;
    xcb_pixmap_t m_sheet = XCB_NONE;
    xcb_pixmap_t m_still = XCB_NONE;
    xcb_render_picture_t m_sheetPicture = XCB_NONE;
    xcb_render_picture_t m_stillPicture = XCB_NONE;
    QRegion m_taken;
};

} // namespace companion
