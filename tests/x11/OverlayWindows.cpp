#include "x11/OverlayWindows.h"

#include <xcb/composite.h>
#include <xcb/shape.h>

namespace companion {

// Besides the tests' own windows, which have no alpha, only the overlay's are out of a window manager's
// reach.
xcb_window_t OverlayWindows::find(int windowClass) const {
    for (const auto window : stack()) {
        const auto attributes = m_connection.reply(xcb_get_window_attributes_reply,
                                                   xcb_get_window_attributes(m_connection, window));
        const auto geometry =
            m_connection.reply(xcb_get_geometry_reply, xcb_get_geometry(m_connection, window));
        if (attributes && geometry && attributes->override_redirect && attributes->_class == windowClass &&
            (windowClass == XCB_WINDOW_CLASS_INPUT_ONLY || geometry->depth == 32))
            return window;
    }
    return XCB_NONE;
}

QRect OverlayWindows::mouseTaken() const {
    QRect taken;
    for (const auto window : {drawn(), catcher()}) {
        const auto reply =
            m_connection.reply(xcb_shape_get_rectangles_reply,
                               xcb_shape_get_rectangles(m_connection, window, XCB_SHAPE_SK_INPUT));
        const auto *r = xcb_shape_get_rectangles_rectangles(reply.get());
        for (int i = 0; isMapped(window) && i < xcb_shape_get_rectangles_rectangles_length(reply.get()); ++i)
            taken |= QRect(r[i].x, r[i].y, r[i].width, r[i].height);
    }
    return taken & QRect(QPoint(0, 0), m_connection.screenSize());
}

QImage OverlayWindows::content() const {
    const QSize size = m_connection.screenSize();
    const auto reply = m_connection.reply(xcb_get_image_reply,
                                          xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, drawn(), 0,
                                                        0, static_cast<std::uint16_t>(size.width()),
                                                        static_cast<std::uint16_t>(size.height()), ~0u));
    if (!reply)
        return {};
    return QImage(xcb_get_image_data(reply.get()), size.width(), size.height(),
                  QImage::Format_ARGB32_Premultiplied)
        .copy();
}

void OverlayWindows::pretendCompositor() {
    const xcb_window_t owner = xcb_generate_id(m_connection);
    xcb_create_window(m_connection, 0, owner, m_connection.root(), 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      0, 0, nullptr);
    xcb_composite_redirect_subwindows(m_connection, m_connection.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    xcb_set_selection_owner(m_connection, owner, m_connection.atom("_NET_WM_CM_S0"), XCB_CURRENT_TIME);
    m_connection.sync();
}

} // namespace companion
