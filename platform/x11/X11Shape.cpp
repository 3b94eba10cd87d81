#include "platform/x11/X11Shape.h"

#include <xcb/shape.h>

#include <algorithm>

namespace companion {

namespace {

constexpr std::size_t kMostOutlineParts = 8192; // In one request; a quarter of the smallest limit.

} // namespace

X11Shape::X11Shape(X11Connection &connection, xcb_window_t window)
    : m_connection(connection),
      m_window(window),
      m_region(xcb_generate_id(connection.xcb())),
      m_difference(xcb_generate_id(connection.xcb())) {
    xcb_xfixes_create_region(m_connection.xcb(), m_region, 0, nullptr);
    xcb_xfixes_create_region(m_connection.xcb(), m_difference, 0, nullptr);
}

void X11Shape::drop() {
    xcb_shape_mask(m_connection.xcb(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, m_window, 0, 0, XCB_NONE);
}

void X11Shape::clear() {
    xcb_xfixes_set_region(m_connection.xcb(), m_region, 0, nullptr);
    m_changed = true;
}

void X11Shape::combine(std::span<const xcb_rectangle_t> rectangles, bool add) {
    auto *c = m_connection.xcb();
    while (!rectangles.empty()) {
        const auto part = rectangles.first(std::min(rectangles.size(), kMostOutlineParts));
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
