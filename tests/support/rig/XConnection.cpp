#include "support/rig/XConnection.h"

#include <stdexcept>

namespace companion::rig {

XConnection::XConnection(const std::string &display) : m_connection(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(m_connection) != 0) {
        xcb_disconnect(m_connection);
        throw std::runtime_error("no X server answers on " + display);
    }
    m_screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
}

XConnection::~XConnection() {
    xcb_disconnect(m_connection);
}

xcb_atom_t XConnection::atom(const std::string &name) const {
    const auto cookie =
        xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    const XcbPtr<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(m_connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

xcb_window_t XConnection::selectionOwner(const std::string &selection) const {
    const auto cookie = xcb_get_selection_owner(m_connection, atom(selection));
    const XcbPtr<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(m_connection, cookie, nullptr));
    return reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
}

xcb_window_t XConnection::rootWindowProperty(const std::string &property) const {
    const auto cookie = xcb_get_property(m_connection, 0, root(), atom(property), XCB_ATOM_WINDOW, 0, 1);
    const XcbPtr<xcb_get_property_reply_t> reply(xcb_get_property_reply(m_connection, cookie, nullptr));
    if (!reply || xcb_get_property_value_length(reply.get()) < 4)
        return XCB_WINDOW_NONE;
    return *static_cast<xcb_window_t *>(xcb_get_property_value(reply.get()));
}

bool XConnection::hasProperty(xcb_window_t window, const std::string &property) const {
    const auto cookie = xcb_get_property(m_connection, 0, window, atom(property), XCB_ATOM_ANY, 0, 0);
    const XcbPtr<xcb_get_property_reply_t> reply(xcb_get_property_reply(m_connection, cookie, nullptr));
    return reply && reply->type != XCB_ATOM_NONE;
}

std::vector<xcb_window_t> XConnection::childrenOf(xcb_window_t window, xcb_window_t *parent) const {
    const XcbPtr<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, window), nullptr));
    if (!tree)
        return {};
    if (parent != nullptr)
        *parent = tree->parent;
    const auto *children = xcb_query_tree_children(tree.get());
    return {children, children + xcb_query_tree_children_length(tree.get())};
}

bool XConnection::isShown(xcb_window_t window) const {
    const XcbPtr<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
        m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
    return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

QRect XConnection::areaOf(xcb_window_t window) const {
    const auto sizeCookie = xcb_get_geometry(m_connection, window);
    const auto placeCookie = xcb_translate_coordinates(m_connection, window, root(), 0, 0);
    const XcbPtr<xcb_get_geometry_reply_t> size(xcb_get_geometry_reply(m_connection, sizeCookie, nullptr));
    const XcbPtr<xcb_translate_coordinates_reply_t> place(
        xcb_translate_coordinates_reply(m_connection, placeCookie, nullptr));
    return size && place ? QRect(place->dst_x, place->dst_y, size->width, size->height) : QRect();
}

QPoint XConnection::pointer() const {
    const auto cookie = xcb_query_pointer(m_connection, root());
    const XcbPtr<xcb_query_pointer_reply_t> reply(xcb_query_pointer_reply(m_connection, cookie, nullptr));
    return reply ? QPoint(reply->root_x, reply->root_y) : QPoint(-1, -1);
}

QSize XConnection::screenSize() const {
    const auto cookie = xcb_get_geometry(m_connection, root());
    const XcbPtr<xcb_get_geometry_reply_t> reply(xcb_get_geometry_reply(m_connection, cookie, nullptr));
    return reply ? QSize(reply->width, reply->height) : QSize();
}

void XConnection::sync() const {
    std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
}

} // namespace companion::rig
