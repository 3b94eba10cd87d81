#include "platform/x11/X11OverlayWindows.h"

#include "platform/x11/X11Rectangle.h"

#include <string_view>

namespace companion {
namespace {

constexpr std::uint32_t kMouseEvents =
    XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_POINTER_MOTION;
constexpr std::uint32_t kKeptFromTheRoot = kMouseEvents | XCB_EVENT_MASK_BUTTON_MOTION;

} // namespace

xcb_visualid_t translucentVisual(const xcb_screen_t &screen, std::string &error) {
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0; xcb_depth_next(&depth)) {
        if (depth.data->depth != 32)
            continue;
        for (auto i = xcb_depth_visuals_iterator(depth.data); i.rem > 0; xcb_visualtype_next(&i))
            if (i.data->_class == XCB_VISUAL_CLASS_TRUE_COLOR && i.data->red_mask == 0xff0000 &&
                i.data->green_mask == 0xff00 && i.data->blue_mask == 0xff)
                return i.data->visual_id;
    }
    error = "the X server has no windows with an alpha channel";
    return 0;
}

xcb_window_t createDrawnWindow(X11Connection &connection, const QRect &area, xcb_visualid_t visual) {
    auto *c = connection.xcb();
    const auto colormap = xcb_generate_id(c);
    xcb_create_colormap(c, XCB_COLORMAP_ALLOC_NONE, colormap, connection.root(), visual);
    const auto window = xcb_generate_id(c);
    const auto r = toRectangle(area);
    // In the order of the mask's bits: background, border, override-redirect, event mask, do-not-propagate
    // mask, colormap.
    const std::uint32_t values[] = {0,       0, 1, kMouseEvents | XCB_EVENT_MASK_EXPOSURE, kKeptFromTheRoot,
                                    colormap};
    xcb_create_window(c, 32, window, connection.root(), r.x, r.y, r.width, r.height, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK |
                          XCB_CW_DONT_PROPAGATE | XCB_CW_COLORMAP,
                      values);

    using namespace std::string_view_literals;
    const auto setText = [&](xcb_atom_t property, xcb_atom_t type, std::string_view text) {
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, property, type, 8,
                            static_cast<std::uint32_t>(text.size()), text.data());
    };
    setText(XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, "presenter-companion\0presenter-companion\0"sv);
    setText(XCB_ATOM_WM_NAME, XCB_ATOM_STRING, "Presenter overlay"sv);
    const auto setNumber = [&](const char *property, xcb_atom_t type, std::uint32_t value) {
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, connection.atom(property), type, 32, 1, &value);
    };
    setNumber("_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, connection.atom("_NET_WM_WINDOW_TYPE_NOTIFICATION"));
    setNumber("_COMPTON_SHADOW", XCB_ATOM_CARDINAL, 0); // A shadow would dim what the effect leaves clear.
    return window;
}

xcb_window_t createCatcherWindow(X11Connection &connection, const QRect &area) {
    auto *c = connection.xcb();
    const auto window = xcb_generate_id(c);
    const auto r = toRectangle(area);
    const std::uint32_t values[] = {1, kMouseEvents, kKeptFromTheRoot};
    // In the order of the mask's bits: override-redirect, event mask, do-not-propagate mask.
    xcb_create_window(c, 0, window, connection.root(), r.x, r.y, r.width, r.height, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT,
                      XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK | XCB_CW_DONT_PROPAGATE, values);
    return window;
}

} // namespace companion
