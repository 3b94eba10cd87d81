#include "platform/x11/X11Shape.h"

#include <xcb/shape.h>

namespace companion {

namespace {

constexpr std::size_t kMostRectangles = 8192; // In one request; a quarter of the smallest limit.
constexpr int kWorthShrinking = 4;            // Times larger than needed.

std::int64_t areaOf(const QRect &r) {
    return std::int64_t{r.width()} * r.height();
}

} // namespace

X11Shape::X11Shape(X11Connection &connection, xcb_window_t window)
    : m_connection(connection),
      m_window(window),
      m_region(xcb_generate_id(connection.xcb())),
      m_difference(xcb_generate_id(connection.xcb())) {
    xcb_xfixes_create_region(m_connection.xcb(), m_region, 0, nullptr);
    xcb_xfixes_create_region(m_connection.xcb(), m_difference, 0, nullptr);
}

void X11Shape::reset(bool composited) {
    set(QRect());
    xcb_xfixes_set_region(m_connection.xcb(), m_region, 0, nullptr);
    m_changed = false;
    if (composited) {
        const std::uint32_t transparent = 0;
        xcb_change_window_attributes(m_connection.xcb(), m_window, XCB_CW_BACK_PIXEL, &transparent);
    } else {
        const std::uint32_t none = XCB_BACK_PIXMAP_NONE;
        xcb_change_window_attributes(m_connection.xcb(), m_window, XCB_CW_BACK_PIXMAP, &none);
    }
}

void X11Shape::cover(const QRect &occupied, const QRect &all, bool moving) {
    if (occupied.isEmpty()) {
        if (!m_rectangle.isEmpty())
            set(QRect());
        return;
    }
    const QRect wanted = moving ? all : occupied;
    const bool fits = m_rectangle.contains(wanted);
    if (!fits || areaOf(m_rectangle) > kWorthShrinking * areaOf(wanted))
        set(wanted);
}

void X11Shape::set(const QRect &rectangle) {
    m_rectangle = rectangle;
    const xcb_rectangle_t r{
        static_cast<std::int16_t>(rectangle.x()), static_cast<std::int16_t>(rectangle.y()),
        static_cast<std::uint16_t>(rectangle.width()), static_cast<std::uint16_t>(rectangle.height())};
    xcb_shape_rectangles(m_connection.xcb(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING,
                         XCB_CLIP_ORDERING_UNSORTED, m_window, 0, 0, rectangle.isEmpty() ? 0 : 1, &r);
}

void X11Shape::combine(std::span<const xcb_rectangle_t> rectangles, bool add) {
    auto *c = m_connection.xcb();
    while (!rectangles.empty()) {
        const auto part = rectangles.first(std::min(rectangles.size(), kMostRectangles));
        rectangles = rectangles.subspan(part.size());
        xcb_xfixes_set_region(c, m_difference, static_cast<std::uint32_t>(part.size()), part.data());
        if (add)
            xcb_xfixes_union_region(c, m_region, m_difference, m_region);
        else
            xcb_xfixes_subtract_region(c, m_region, m_difference, m_region);
        m_changed = true;
    }
}

void X11Shape::apply() {
    if (!m_changed)
        return;
    m_changed = false;
    xcb_xfixes_set_window_shape_region(m_connection.xcb(), m_window, XCB_SHAPE_SK_BOUNDING, 0, 0, m_region);
}

} // namespace companion
