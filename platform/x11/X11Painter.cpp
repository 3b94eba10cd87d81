#include "platform/x11/X11Painter.h"

#include "platform/x11/X11Rectangle.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace companion {

namespace {

constexpr std::uint8_t kDepth = 32;
constexpr std::size_t kAlignment = 64;        // Of each picture, for the vector units.
constexpr std::size_t kMostRectangles = 4096; // In one request; far below the server's limit.
constexpr std::size_t kRequestHeader = 64;    // More than any request's fixed part.
constexpr std::size_t kOwnMemory = 1 << 18;

std::size_t bytesOf(const QSize &size) {
    return static_cast<std::size_t>(size.width()) * static_cast<std::size_t>(size.height()) * sizeof(Pixel);
}

std::size_t aligned(std::size_t bytes) {
    return (bytes + kAlignment - 1) / kAlignment * kAlignment;
}

} // namespace

X11Painter::X11Painter(X11Connection &connection, xcb_drawable_t target, std::size_t bytes)
    : m_connection(connection),
      m_target(target),
      m_gc(xcb_generate_id(connection.xcb())),
      m_shared(X11SharedMemory::create(connection, bytes)) {
    const std::uint32_t values[] = {m_foreground, 0};
    xcb_create_gc(m_connection.xcb(), m_gc, target, XCB_GC_FOREGROUND | XCB_GC_GRAPHICS_EXPOSURES, values);
    if (m_shared) {
        m_memory = m_shared->data();
        m_size = m_shared->size();
    } else {
        const std::size_t request = std::size_t{xcb_get_maximum_request_length(m_connection.xcb())} * 4;
        m_size = std::min({bytes, kOwnMemory, request - kRequestHeader});
        m_own.resize(m_size / sizeof(Pixel));
        m_memory = reinterpret_cast<std::byte *>(m_own.data());
    }
}

void X11Painter::fill(std::span<const SurfaceFrame::Fill> fills) {
    for (std::size_t i = 0; i < fills.size();) {
        const Pixel pixel = fills[i].pixel;
        m_rectangles.clear();
        for (; i < fills.size() && fills[i].pixel == pixel && m_rectangles.size() < kMostRectangles; ++i)
            if (!fills[i].area.isEmpty())
                m_rectangles.push_back(toRectangle(fills[i].area));
        if (m_rectangles.empty())
            continue;
        if (pixel != m_foreground) {
            xcb_change_gc(m_connection.xcb(), m_gc, XCB_GC_FOREGROUND, &pixel);
            m_foreground = pixel;
        }
        xcb_poly_fill_rectangle(m_connection.xcb(), m_target, m_gc,
                                static_cast<std::uint32_t>(m_rectangles.size()), m_rectangles.data());
    }
}

void X11Painter::paint(const QRect &area, const PaintPatch &paint, const PaintPatch &beforeSending) {
    if (area.isEmpty())
        return;
    const auto rowBytes = static_cast<std::size_t>(area.width()) * sizeof(Pixel);
    for (int top = area.top(); top <= area.bottom();) {
        int rows = 0;
        Pixel *pixels = reserve(rowBytes, area.bottom() - top + 1, rows);
        if (!pixels)
            return; // Not one row fits: no screen is that wide.
        const PixelPatch band{QRect(area.left(), top, area.width(), rows), pixels, area.width()};
        std::memset(pixels, 0, rowBytes * static_cast<std::size_t>(rows));
        paint(band);
        if (beforeSending)
            beforeSending(band);
        send(band);
        top += rows;
    }
}

void X11Painter::paintPicture(std::uint64_t picture, const QRect &area, const PaintPatch &paint) {
    if (picture != m_kept || area.size() != m_keptSize) {
        const bool again = std::exchange(m_lastPicture, picture) == picture;
        if (!again || bytesOf(area.size()) > m_size / 2)
            return this->paint(area, paint, nullptr);
        keep(picture, area, paint);
    }
    send({area, reinterpret_cast<Pixel *>(m_memory), area.width()});
}

void X11Painter::keep(std::uint64_t picture, const QRect &area, const PaintPatch &paint) {
    if (m_shared && !m_connection.processed(m_lastSent))
        m_connection.waitUntilProcessed();
    m_kept = picture;
    m_keptSize = area.size();
    m_keptBytes = aligned(bytesOf(m_keptSize));
    m_used = m_keptBytes;
    std::memset(m_memory, 0, m_keptBytes);
    paint({area, reinterpret_cast<Pixel *>(m_memory), area.width()});
}

// Room for the wanted rows, or for as many of them as there can be.
Pixel *X11Painter::reserve(std::size_t rowBytes, int wantedRows, int &rows) {
    if (m_used > m_keptBytes && (!m_shared || m_connection.processed(m_lastSent)))
        m_used = m_keptBytes;
    const std::size_t wanted = rowBytes * static_cast<std::size_t>(wantedRows);
    if (m_used + wanted > m_size && m_used > m_keptBytes) {
        m_connection.waitUntilProcessed();
        m_used = m_keptBytes;
    }
    rows = static_cast<int>(std::min(wanted, m_size - m_used) / rowBytes);
    if (rows == 0)
        return nullptr;
    auto *pixels = reinterpret_cast<Pixel *>(m_memory + m_used);
    m_used = std::min(m_size, aligned(m_used + rowBytes * static_cast<std::size_t>(rows)));
    return pixels;
}

void X11Painter::send(const PixelPatch &band) {
    const auto r = toRectangle(band.area);
    if (!m_shared) {
        const auto bytes = std::size_t{r.width} * r.height * sizeof(Pixel);
        xcb_put_image(m_connection.xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, m_target, m_gc, r.width, r.height, r.x,
                      r.y, 0, kDepth, static_cast<std::uint32_t>(bytes),
                      reinterpret_cast<const std::uint8_t *>(band.pixels));
        return;
    }
    const auto offset = reinterpret_cast<std::byte *>(band.pixels) - m_memory;
    const auto cookie = xcb_shm_put_image(m_connection.xcb(), m_target, m_gc, r.width, r.height, 0, 0,
                                          r.width, r.height, r.x, r.y, kDepth, XCB_IMAGE_FORMAT_Z_PIXMAP, 0,
                                          m_shared->id(), static_cast<std::uint32_t>(offset));
    m_lastSent = cookie.sequence;
}

} // namespace companion
