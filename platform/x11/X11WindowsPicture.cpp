#include "platform/x11/X11WindowsPicture.h"

#include <xcb/randr.h>
#include <xcb/render.h>
#include <xcb/shape.h>
#include <xcb/xcb_renderutil.h>
#include <xcb/xfixes.h>

#include <string_view>
#include <vector>

namespace companion {
namespace {

// Xwayland tells so by an extension from 23.1 on; before, by the name of its first output.
constexpr std::string_view kExtension = "XWAYLAND";
constexpr std::string_view kOutput = "XWAYLAND";

class Picture {
public:
    Picture(xcb_connection_t *xcb, xcb_drawable_t drawable, xcb_render_pictformat_t format)
        : m_xcb(xcb),
          m_id(xcb_generate_id(xcb)) {
        const std::uint32_t windowsInside = XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS;
        xcb_render_create_picture(xcb, m_id, drawable, format, XCB_RENDER_CP_SUBWINDOW_MODE, &windowsInside);
    }
    ~Picture() { xcb_render_free_picture(m_xcb, m_id); }
    Picture(const Picture &) = delete;
    Picture &operator=(const Picture &) = delete;

    xcb_render_picture_t id() const { return m_id; }

private:
    xcb_connection_t *m_xcb;
    xcb_render_picture_t m_id;
};

struct Window {
    xcb_window_t id;
    xcb_get_window_attributes_cookie_t attributes;
    xcb_get_geometry_cookie_t geometry;
};

// From the lowest to the topmost.
std::vector<Window> windowsOf(const X11Connection &connection) {
    auto *c = connection.xcb();
    std::vector<Window> windows;
    const X11Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(c, xcb_query_tree(c, connection.root()), nullptr));
    if (!tree) {
        connection.checkAlive();
        return windows;
    }
    const auto *ids = xcb_query_tree_children(tree.get());
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i)
        windows.push_back({ids[i], xcb_get_window_attributes(c, ids[i]), xcb_get_geometry(c, ids[i])});
    return windows;
}

} // namespace

bool isXwayland(X11Connection &connection) {
    auto *c = connection.xcb();
    const bool randr = connection.extensions().randrEvent != 0;
    const auto extensionCookie = xcb_query_extension(c, kExtension.size(), kExtension.data());
    const auto monitorsCookie =
        randr ? xcb_randr_get_monitors(c, connection.root(), 1) : xcb_randr_get_monitors_cookie_t{};
    const X11Reply<xcb_query_extension_reply_t> extension(
        xcb_query_extension_reply(c, extensionCookie, nullptr));
    const X11Reply<xcb_randr_get_monitors_reply_t> monitors(
        randr ? xcb_randr_get_monitors_reply(c, monitorsCookie, nullptr) : nullptr);
    if (extension && extension->present != 0)
        return true;
    if (!monitors || monitors->nMonitors == 0)
        return false;
    const auto nameCookie =
        xcb_get_atom_name(c, xcb_randr_get_monitors_monitors_iterator(monitors.get()).data->name);
    const X11Reply<xcb_get_atom_name_reply_t> name(xcb_get_atom_name_reply(c, nameCookie, nullptr));
    return name && std::string_view(xcb_get_atom_name_name(name.get()), name->name_len).starts_with(kOutput);
}

X11WindowsPicture::X11WindowsPicture(X11Connection &connection, const QRect &area)
    : m_connection(connection),
      m_pixmap(xcb_generate_id(connection.xcb())) {
    xcb_create_pixmap(connection.xcb(), connection.screen().root_depth, m_pixmap, connection.root(),
                      static_cast<std::uint16_t>(area.width()), static_cast<std::uint16_t>(area.height()));
    draw(area);
}

X11WindowsPicture::~X11WindowsPicture() {
    xcb_free_pixmap(m_connection.xcb(), m_pixmap);
    xcb_render_util_disconnect(m_connection.xcb()); // The formats, kept by the connection's address alone.
}

void X11WindowsPicture::draw(const QRect &area) {
    auto *c = m_connection.xcb();
    const auto *formats = xcb_render_util_query_formats(c);
    const auto formatOf = [formats](xcb_visualid_t visual) {
        const auto *found = formats ? xcb_render_util_find_visual_format(formats, visual) : nullptr;
        return found ? found->format : xcb_render_pictformat_t{XCB_NONE};
    };
    const auto ownFormat = formatOf(m_connection.screen().root_visual);
    if (ownFormat == XCB_NONE)
        return;
    const Picture target(c, m_pixmap, ownFormat);
    const xcb_rectangle_t whole{0, 0, static_cast<std::uint16_t>(area.width()),
                                static_cast<std::uint16_t>(area.height())};
    xcb_render_fill_rectangles(c, XCB_RENDER_PICT_OP_SRC, target.id(), {0, 0, 0, 0xffff}, 1, &whole);

    const xcb_xfixes_region_t shape = xcb_generate_id(c);
    for (const Window &window : windowsOf(m_connection)) {
        const X11Reply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(c, window.attributes, nullptr));
        const X11Reply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(c, window.geometry, nullptr));
        if (!attributes || !geometry || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
            attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT)
            continue; // Gone by now, or never to be seen.
        const Picture source(c, window.id, formatOf(attributes->visual));
        const auto x = static_cast<std::int16_t>(geometry->x - area.x());
        const auto y = static_cast<std::int16_t>(geometry->y - area.y());
        // What lies outside a window's shape was never drawn; ours is shaped wherever it shows nothing.
        xcb_xfixes_create_region_from_window(c, shape, window.id, XCB_SHAPE_SK_BOUNDING);
        xcb_xfixes_set_picture_clip_region(c, target.id(), shape, x, y);
        xcb_xfixes_destroy_region(c, shape);
        xcb_render_composite(c, XCB_RENDER_PICT_OP_OVER, source.id(), XCB_NONE, target.id(), 0, 0, 0, 0, x, y,
                             geometry->width, geometry->height);
    }
    m_drawn = true;
}

} // namespace companion
