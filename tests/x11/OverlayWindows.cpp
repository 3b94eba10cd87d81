#include "x11/OverlayWindows.h"

#include <xcb/shape.h>

#include <cstring>

namespace companion {

using rig::XcbPtr;

// Besides the tests' own windows, which have no alpha, only the overlay's are out of a window manager's
// reach.
xcb_window_t OverlayWindows::find(int windowClass) const {
    for (const auto window : stack()) {
        const XcbPtr<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
            m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
        const XcbPtr<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, window), nullptr));
        if (attributes && geometry && attributes->override_redirect && attributes->_class == windowClass &&
            (windowClass == XCB_WINDOW_CLASS_INPUT_ONLY || geometry->depth == 32))
            return window;
    }
    return XCB_NONE;
}

std::vector<QRect> OverlayWindows::outline() const {
    return shape(drawn(), XCB_SHAPE_SK_BOUNDING);
}

std::vector<QRect> OverlayWindows::mouseTaken() const {
    return shape(catcher(), XCB_SHAPE_SK_INPUT);
}

std::vector<QRect> OverlayWindows::shape(xcb_window_t window, int kind) const {
    const XcbPtr<xcb_shape_get_rectangles_reply_t> reply(xcb_shape_get_rectangles_reply(
        m_connection, xcb_shape_get_rectangles(m_connection, window, static_cast<xcb_shape_kind_t>(kind)),
        nullptr));
    std::vector<QRect> found;
    const auto *r = xcb_shape_get_rectangles_rectangles(reply.get());
    for (int i = 0; i < xcb_shape_get_rectangles_rectangles_length(reply.get()); ++i)
        found.emplace_back(r[i].x, r[i].y, r[i].width, r[i].height);
    return found;
}

QImage OverlayWindows::content() const {
    const xcb_window_t window = drawn();
    const QSize size = m_connection.areaOf(window).size();
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    const XcbPtr<xcb_get_image_reply_t> reply(
        xcb_get_image_reply(m_connection,
                            xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, 0, 0,
                                          static_cast<std::uint16_t>(size.width()),
                                          static_cast<std::uint16_t>(size.height()), ~0u),
                            nullptr));
    if (!reply)
        return {};
    std::memcpy(image.bits(), xcb_get_image_data(reply.get()), static_cast<std::size_t>(image.sizeInBytes()));
    return image;
}

void OverlayWindows::pretendCompositor() {
    const xcb_window_t owner = xcb_generate_id(m_connection);
    xcb_create_window(m_connection, 0, owner, m_connection.root(), 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      0, 0, nullptr);
    xcb_set_selection_owner(m_connection, owner, m_connection.atom("_NET_WM_CM_S0"), XCB_CURRENT_TIME);
    m_connection.sync();
}

} // namespace companion
