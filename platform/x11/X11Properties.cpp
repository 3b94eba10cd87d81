#include "platform/x11/X11Properties.h"

#include <cstring>

namespace companion {
namespace {

constexpr std::uint32_t kLongest = 1024; // In words of 32 bits.

X11Reply<xcb_get_property_reply_t> ask(const X11Connection::Link &link, xcb_window_t window,
                                       const char *property) {
    auto *c = link.xcb.get();
    const X11Reply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        c, xcb_intern_atom(c, 1, static_cast<std::uint16_t>(std::strlen(property)), property), nullptr));
    if (!atom || atom->atom == XCB_ATOM_NONE)
        return nullptr;
    return X11Reply<xcb_get_property_reply_t>(xcb_get_property_reply(
        c, xcb_get_property(c, 0, window, atom->atom, XCB_GET_PROPERTY_TYPE_ANY, 0, kLongest), nullptr));
}

} // namespace

std::vector<std::uint32_t> x11Numbers(const X11Connection::Link &link, xcb_window_t window,
                                      const char *property) {
    const auto reply = ask(link, window, property);
    if (!reply || reply->format != 32)
        return {};
    const auto *numbers = static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get()));
    return {numbers, numbers + reply->value_len};
}

std::string x11Text(const X11Connection::Link &link, xcb_window_t window, const char *property) {
    const auto reply = ask(link, window, property);
    if (!reply || reply->format != 8)
        return {};
    const auto *text = static_cast<const char *>(xcb_get_property_value(reply.get()));
    return {text, text + reply->value_len};
}

std::vector<xcb_window_t> x11ChildrenOf(xcb_connection_t *c, xcb_window_t window) {
    const X11Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, xcb_query_tree(c, window), nullptr));
    if (!tree)
        return {};
    const auto *children = xcb_query_tree_children(tree.get());
    return {children, children + xcb_query_tree_children_length(tree.get())};
}

xcb_window_t x11FrameOf(xcb_connection_t *c, xcb_window_t root, xcb_window_t window) {
    for (;;) {
        const X11Reply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(c, xcb_query_tree(c, window), nullptr));
        if (!tree)
            return XCB_NONE;
        if (tree->parent == root || tree->parent == XCB_NONE)
            return window;
        window = tree->parent;
    }
}

bool x11IsVisible(xcb_connection_t *c, xcb_window_t window) {
    const X11Reply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, window), nullptr));
    return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
           attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
}

X11Extent x11ExtentOf(xcb_connection_t *c, xcb_window_t window) {
    constexpr int kDepthWithAlpha = 32;
    const X11Reply<xcb_get_geometry_reply_t> g(
        xcb_get_geometry_reply(c, xcb_get_geometry(c, window), nullptr));
    if (!g)
        return {};
    return {QRect(g->x, g->y, g->width + 2 * g->border_width, g->height + 2 * g->border_width),
            g->depth != kDepthWithAlpha};
}

// It names itself; a dead one's window may have been taken by somebody else.
xcb_window_t x11WindowManager(const X11Connection::Link &link) {
    constexpr const char *kCheck = "_NET_SUPPORTING_WM_CHECK";
    const auto named = x11Numbers(link, screenOf(link).root, kCheck);
    const bool alive = !named.empty() && x11Numbers(link, named.front(), kCheck) == named;
    return alive ? named.front() : xcb_window_t{XCB_NONE};
}

} // namespace companion
