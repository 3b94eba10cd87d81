#include "platform/x11/X11Still.h"

#include <xcb/xcb_renderutil.h>

namespace companion {
namespace {

// Side of the squares in which the desktop is taken, in pixels: few enough for a region of them to stay
// simple.
constexpr int kTile = 256;

QRect tilesOver(const QRect &area) {
    const auto down = [](int value) { return value / kTile * kTile; };
    return {QPoint(down(area.left()), down(area.top())),
            QPoint(down(area.right()) + kTile - 1, down(area.bottom()) + kTile - 1)};
}

std::int16_t i16(int value) {
    return static_cast<std::int16_t>(value);
}

std::uint16_t u16(int value) {
    return static_cast<std::uint16_t>(value);
}

} // namespace

X11Still::X11Still(X11Connection &connection, xcb_window_t window, const Formats &formats)
    : m_connection(connection),
      m_window(window),
      m_format(formats.sheet),
      m_gc(xcb_generate_id(connection.xcb())),
      m_root(xcb_generate_id(connection.xcb())) {
    auto *c = connection.xcb();
    const std::uint32_t noExposures = 0;
    xcb_create_gc(c, m_gc, window, XCB_GC_GRAPHICS_EXPOSURES, &noExposures);
    const std::uint32_t windowsInside = XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS;
    xcb_render_create_picture(c, m_root, connection.root(), formats.desktop, XCB_RENDER_CP_SUBWINDOW_MODE,
                              &windowsInside);
}

std::optional<X11Still::Formats> X11Still::formatsOf(const X11Connection::Link &link) {
    auto *c = link.xcb.get();
    const auto *all = xcb_render_util_query_formats(c);
    const auto *sheet = all ? xcb_render_util_find_standard_format(all, XCB_PICT_STANDARD_ARGB_32) : nullptr;
    const auto *desktop = all ? xcb_render_util_find_visual_format(all, screenOf(link).root_visual) : nullptr;
    std::optional<Formats> formats;
    if (sheet && desktop)
        formats = Formats{sheet->id, desktop->format};
    xcb_render_util_disconnect(c); // What the call above keeps, by the connection's address alone.
    return formats;
}

void X11Still::begin(const QRect &area) {
    end();
    m_area = area;
    m_sheet = makePixmap(m_sheetPicture);
    m_still = makePixmap(m_stillPicture);
}

void X11Still::end() {
    freePixmap(m_sheet, m_sheetPicture);
    freePixmap(m_still, m_stillPicture);
    m_taken = QRegion();
}

xcb_pixmap_t X11Still::makePixmap(xcb_render_picture_t &picture) {
    auto *c = m_connection.xcb();
    const auto pixmap = xcb_generate_id(c);
    xcb_create_pixmap(c, 32, pixmap, m_window, u16(m_area.width()), u16(m_area.height()));
    picture = xcb_generate_id(c);
    xcb_render_create_picture(c, picture, pixmap, m_format, 0, nullptr);
    return pixmap;
}

void X11Still::freePixmap(xcb_pixmap_t &pixmap, xcb_render_picture_t &picture) {
    if (pixmap == XCB_NONE)
        return;
    xcb_render_free_picture(m_connection.xcb(), picture);
    xcb_free_pixmap(m_connection.xcb(), pixmap);
    pixmap = XCB_NONE;
}

void X11Still::take(const QRect &area) {
    if (area.isEmpty())
        return;
    const QRegion wanted = QRegion(tilesOver(area) & QRect(QPoint(0, 0), m_area.size())) - m_taken;
    for (const QRect &piece : wanted)
        copyDesktop(piece);
    m_taken += wanted;
}

void X11Still::copyDesktop(const QRect &area) {
    const QPoint from = m_area.topLeft() + area.topLeft();
    xcb_render_composite(m_connection.xcb(), XCB_RENDER_PICT_OP_SRC, m_root, XCB_NONE, m_stillPicture,
                         i16(from.x()), i16(from.y()), 0, 0, i16(area.x()), i16(area.y()), u16(area.width()),
                         u16(area.height()));
}

void X11Still::blend(const QRect &area) {
    xcb_render_composite(m_connection.xcb(), XCB_RENDER_PICT_OP_OVER_REVERSE, m_stillPicture, XCB_NONE,
                         m_sheetPicture, i16(area.x()), i16(area.y()), 0, 0, i16(area.x()), i16(area.y()),
                         u16(area.width()), u16(area.height()));
}

void X11Still::show(const QRect &area) const {
    xcb_copy_area(m_connection.xcb(), m_sheet, m_window, m_gc, i16(area.x()), i16(area.y()), i16(area.x()),
                  i16(area.y()), u16(area.width()), u16(area.height()));
}

} // namespace companion
