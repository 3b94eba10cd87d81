#pragma once

#include "platform/ports/OverlaySurface.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11SharedMemory.h"

#include <span>
#include <vector>

namespace companion {

// Puts pixels into a window or pixmap with 32-bit pixels, in device pixels. Costs no round trip and no
// allocation per call once warm; nothing is sent before the connection is flushed.
class X11Painter {
public:
    using PaintPatch = std::function<void(const PixelPatch &)>;

    // `bytes` of pixel memory; the part that is never used costs nothing.
    X11Painter(X11Connection &connection, xcb_drawable_t target, std::size_t bytes);
    X11Painter(const X11Painter &) = delete;
    X11Painter &operator=(const X11Painter &) = delete;

    // From now on there.
    void setTarget(xcb_drawable_t target) { m_target = target; }

    // The server draws these itself: one request for neighbours of one pixel value.
    void fill(std::span<const SurfaceFrame::Fill> fills);

    // Calls `paint` for the area, in bands from the top if it is larger than the pixel memory, and after each
    // band `beforeSending`, which may still change it.
    void paint(const QRect &area, const PaintPatch &paint, const PaintPatch &beforeSending);

    // The same for a picture that may come again (a number that is not 0, see SurfaceFrame::picture): painted
    // at most twice in a row, since what comes a second time is kept.
    void paintPicture(std::uint64_t picture, const QRect &area, const PaintPatch &paint);

private:
    void keep(std::uint64_t picture, const QRect &area, const PaintPatch &paint);
    Pixel *reserve(std::size_t rowBytes, int wantedRows, int &rows);
    void send(const PixelPatch &band);

    X11Connection &m_connection;
    xcb_drawable_t m_target;
    xcb_gcontext_t m_gc;
    Pixel m_foreground = 0;
    std::vector<xcb_rectangle_t> m_rectangles;

    // With shared memory, pictures are laid one after the other, and from the start again once the server has
    // read all of them: usually it has when the next pointer position is known.
    std::shared_ptr<X11SharedMemory> m_shared;
    std::vector<Pixel> m_own; // Without it: copied into the request.
    std::byte *m_memory;
    std::size_t m_size;
    std::size_t m_used = 0;
    unsigned m_lastSent = 0;

    // The kept picture lies before all others.
    std::uint64_t m_lastPicture = 0;
    std::uint64_t m_kept = 0;
    QSize m_keptSize;
    std::size_t m_keptBytes = 0;
};

} // namespace companion
