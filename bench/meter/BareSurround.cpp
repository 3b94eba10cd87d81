#include "meter/BareSurround.h"

#include <xcb/shape.h>

namespace companion::bench {
namespace {

constexpr std::uint32_t kDim = 0x80000000;

} // namespace

BareSurround::BareSurround(const std::string &display)
    : m_connection(display),
      m_all{0, 0, m_connection.screen().width_in_pixels, m_connection.screen().height_in_pixels},
      m_window(xcb_generate_id(m_connection)),
      m_gc(xcb_generate_id(m_connection)) {
    xcb_visualid_t visual = 0;
    for (auto depth = xcb_screen_allowed_depths_iterator(&m_connection.screen()); depth.rem > 0;
         xcb_depth_next(&depth))
        if (depth.data->depth == 32)
            visual = xcb_depth_visuals_iterator(depth.data).data->visual_id;
    const auto colormap = xcb_generate_id(m_connection);
    xcb_create_colormap(m_connection, XCB_COLORMAP_ALLOC_NONE, colormap, m_connection.root(), visual);
    const std::uint32_t values[] = {0, 0, 1, colormap};
    xcb_create_window(m_connection, 32, m_window, m_connection.root(), 0, 0, m_all.width, m_all.height, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP,
                      values);
    xcb_shape_rectangles(m_connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED,
                         m_window, 0, 0, 0, nullptr);
    const std::uint32_t none = 0;
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, m_connection.atom("_COMPTON_SHADOW"),
                        XCB_ATOM_CARDINAL, 32, 1, &none);
    xcb_create_gc(m_connection, m_gc, m_window, XCB_GC_FOREGROUND, &kDim);
    outline(false);
    xcb_map_window(m_connection, m_window);
    m_connection.sync();
}

void BareSurround::show() {
    outline(true);
    xcb_poly_fill_rectangle(m_connection, m_window, m_gc, 1, &m_all);
    xcb_flush(m_connection);
}

void BareSurround::hide() {
    outline(false);
    xcb_flush(m_connection);
}

void BareSurround::outline(bool whole) {
    xcb_shape_rectangles(m_connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, XCB_CLIP_ORDERING_UNSORTED,
                         m_window, 0, 0, whole ? 1 : 0, &m_all);
}

} // namespace companion::bench
