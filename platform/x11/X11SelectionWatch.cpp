#include "platform/x11/X11SelectionWatch.h"

#include <xcb/xfixes.h>

namespace companion {
namespace {

std::string nameFor(const std::string &name, int screenNumber) {
    return name + "_S" + std::to_string(screenNumber);
}

} // namespace

X11SelectionWatch::X11SelectionWatch(X11Connection &connection, const std::string &name,
                                     std::function<void()> changed)
    : m_selection(connection.atom(nameFor(name, connection.screenNumber()).c_str())),
      m_changed(std::move(changed)) {
    auto *c = connection.xcb();
    // Watched before it is asked for: no holder slips through.
    xcb_xfixes_select_selection_input(c, connection.root(), m_selection,
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    const auto type =
        static_cast<std::uint8_t>(connection.extensions().xfixesEvent + XCB_XFIXES_SELECTION_NOTIFY);
    connection.onEvent(type, [this](const xcb_generic_event_t &event) {
        const auto &notify = reinterpret_cast<const xcb_xfixes_selection_notify_event_t &>(event);
        if (notify.selection != m_selection)
            return;
        const bool wasHeld = held();
        m_owner = notify.owner;
        if (held() != wasHeld)
            m_changed();
    });
    const X11Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, m_selection), nullptr));
    if (!reply)
        connection.checkAlive();
    m_owner = reply ? reply->owner : xcb_window_t{XCB_NONE};
}

xcb_window_t x11SelectionOwner(const X11Connection::Link &link, const std::string &name) {
    auto *c = link.xcb.get();
    const std::string full = nameFor(name, link.screenNumber);
    const X11Reply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        c, xcb_intern_atom(c, 0, static_cast<std::uint16_t>(full.size()), full.c_str()), nullptr));
    if (!atom)
        return XCB_NONE;
    const X11Reply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, atom->atom), nullptr));
    return owner ? owner->owner : xcb_window_t{XCB_NONE};
}

} // namespace companion
