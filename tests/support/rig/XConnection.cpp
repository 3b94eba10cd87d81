#include "support/rig/XConnection.h"

#include <cstring>
#include <stdexcept>

namespace companion::rig {

XConnection::XConnection(const std::string &display)
    : m_connection(display.empty() ? nullptr : xcb_connect(display.c_str(), nullptr)) {
    if (m_connection == nullptr)
        return;
    if (xcb_connection_has_error(m_connection) != 0) {
        xcb_disconnect(m_connection);
        throw std::runtime_error("no X server answers on " + display);
    }
    m_screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
}

XConnection::~XConnection() {
    if (m_connection != nullptr)
        xcb_disconnect(m_connection);
}

xcb_atom_t XConnection::atom(const std::string &name) const {
    const auto length = static_cast<std::uint16_t>(name.size());
    const auto atom = reply(xcb_intern_atom_reply, xcb_intern_atom(m_connection, 0, length, name.c_str()));
    return atom ? atom->atom : xcb_atom_t{XCB_ATOM_NONE};
}

xcb_window_t XConnection::selectionOwner(const std::string &selection) const {
    const auto owner =
        reply(xcb_get_selection_owner_reply, xcb_get_selection_owner(m_connection, atom(selection)));
    return owner ? owner->owner : xcb_window_t{XCB_WINDOW_NONE};
}

std::string XConnection::property(xcb_window_t window, const std::string &name) const {
    const auto value = reply(xcb_get_property_reply, xcb_get_property(m_connection, 0, window, atom(name),
                                                                      XCB_GET_PROPERTY_TYPE_ANY, 0, 64));
    if (!value)
        return {};
    return {static_cast<const char *>(xcb_get_property_value(value.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(value.get()))};
}

xcb_window_t XConnection::rootWindowProperty(const std::string &name) const {
    const std::string value = property(root(), name);
    xcb_window_t window = XCB_WINDOW_NONE;
    if (value.size() >= sizeof window)
        std::memcpy(&window, value.data(), sizeof window);
    return window;
}

std::vector<xcb_window_t> XConnection::childrenOf(xcb_window_t window, xcb_window_t *parent) const {
    const auto tree = reply(xcb_query_tree_reply, xcb_query_tree(m_connection, window));
    if (!tree)
        return {};
    if (parent != nullptr)
        *parent = tree->parent;
    const auto *children = xcb_query_tree_children(tree.get());
    return {children, children + xcb_query_tree_children_length(tree.get())};
}

bool XConnection::isShown(xcb_window_t window) const {
    const auto attributes =
        reply(xcb_get_window_attributes_reply, xcb_get_window_attributes(m_connection, window));
    return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

QRect XConnection::areaOf(xcb_window_t window) const {
    const auto size = reply(xcb_get_geometry_reply, xcb_get_geometry(m_connection, window));
    const auto place =
        reply(xcb_translate_coordinates_reply, xcb_translate_coordinates(m_connection, window, root(), 0, 0));
    return size && place ? QRect(place->dst_x, place->dst_y, size->width, size->height) : QRect();
}

QPoint XConnection::pointer() const {
    const auto pointer = reply(xcb_query_pointer_reply, xcb_query_pointer(m_connection, root()));
    return pointer ? QPoint(pointer->root_x, pointer->root_y) : QPoint(-1, -1);
}

void XConnection::sync() const {
    reply(xcb_get_input_focus_reply, xcb_get_input_focus(m_connection));
}

} // namespace companion::rig
