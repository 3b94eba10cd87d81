#include "platform/x11/X11Screens.h"

#include "core/Log.h"

#include <xcb/randr.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace companion {
namespace {

std::vector<xcb_get_atom_name_cookie_t> askNames(xcb_connection_t *c,
                                                 const xcb_randr_get_monitors_reply_t &monitors) {
    std::vector<xcb_get_atom_name_cookie_t> cookies;
    for (auto i = xcb_randr_get_monitors_monitors_iterator(&monitors); i.rem > 0;
         xcb_randr_monitor_info_next(&i))
        cookies.push_back(xcb_get_atom_name(c, i.data->name));
    return cookies;
}

// Two round trips; without RandR 1.5 one.
std::vector<X11Monitor> monitorsOf(xcb_connection_t *c, xcb_window_t root, bool randr) {
    const auto rootCookie = xcb_get_geometry(c, root);
    const X11Reply<xcb_randr_get_monitors_reply_t> monitors(
        randr ? xcb_randr_get_monitors_reply(c, xcb_randr_get_monitors(c, root, 1), nullptr) : nullptr);
    std::vector<X11Monitor> found;
    if (monitors) {
        const auto names = askNames(c, *monitors);
        auto name = names.begin();
        for (auto i = xcb_randr_get_monitors_monitors_iterator(monitors.get()); i.rem > 0;
             xcb_randr_monitor_info_next(&i)) {
            const X11Reply<xcb_get_atom_name_reply_t> text(xcb_get_atom_name_reply(c, *name++, nullptr));
            if (i.data->width > 0 && i.data->height > 0)
                found.push_back({text ? std::string(xcb_get_atom_name_name(text.get()), text->name_len) : "",
                                 QRect(i.data->x, i.data->y, i.data->width, i.data->height),
                                 i.data->primary != 0});
        }
    }
    const X11Reply<xcb_get_geometry_reply_t> whole(xcb_get_geometry_reply(c, rootCookie, nullptr));
    if (found.empty() && whole)
        found.push_back({"", QRect(0, 0, whole->width, whole->height), true});
    return found;
}

} // namespace

std::vector<X11Monitor> x11Monitors(const X11Connection::Link &link) {
    auto *c = link.xcb.get();
    const auto *extension = xcb_get_extension_data(c, &xcb_randr_id);
    bool randr = extension != nullptr && extension->present != 0;
    if (randr) {
        const X11Reply<xcb_randr_query_version_reply_t> version(
            xcb_randr_query_version_reply(c, xcb_randr_query_version(c, 1, 5), nullptr));
        randr = version && version->major_version == 1 && version->minor_version >= 5;
    }
    return monitorsOf(c, screenOf(link).root, randr);
}

X11Screens::X11Screens(X11Connection &connection, MainQueue &queue, ScreenChoice choice, Scale scale)
    : m_connection(connection),
      m_queue(queue),
      m_choice(std::move(choice)),
      m_askScale(std::move(scale)) {
    // The root's own size changes are told to whoever asks for structure changes, monitors included.
    connection.askRootFor(XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    connection.onEvent(XCB_CONFIGURE_NOTIFY, [this](const xcb_generic_event_t &event) {
        if (reinterpret_cast<const xcb_configure_notify_event_t &>(event).window == m_connection.root())
            refreshSoon();
    });
    if (const auto first = connection.extensions().randrEvent) {
        xcb_randr_select_input(connection.xcb(), connection.root(),
                               XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                                   XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
        for (const int event : {XCB_RANDR_SCREEN_CHANGE_NOTIFY, XCB_RANDR_NOTIFY})
            connection.onEvent(static_cast<std::uint8_t>(first + event),
                               [this](const xcb_generic_event_t &) { refreshSoon(); });
    }
    refresh();
}

Size X11Screens::size() const {
    return {m_area.width() / m_scale, m_area.height() / m_scale};
}

QRect X11Screens::desktop() const {
    QRect all;
    for (const X11Monitor &monitor : m_monitors)
        all |= monitor.area;
    return all;
}

Point X11Screens::toOverlay(int x, int y) const {
    return {(x - m_area.x()) / m_scale, size().height - (y - m_area.y()) / m_scale};
}

// One change of the desktop is told in many events.
void X11Screens::refreshSoon() {
    if (m_refreshPosted)
        return;
    m_refreshPosted = true;
    m_queue.post(std::chrono::milliseconds(0), m_lifetime.guard([this] {
        m_refreshPosted = false;
        refresh();
    }));
}

void X11Screens::refresh() {
    auto found =
        monitorsOf(m_connection.xcb(), m_connection.root(), m_connection.extensions().randrEvent != 0);
    if (found.empty())
        m_connection.checkAlive();
    else
        m_monitors = std::move(found);
    if (!m_monitors.empty())
        settleOn(chosen());
}

const X11Monitor &X11Screens::chosen() {
    const auto named = [this](const std::string &name) {
        return std::find_if(m_monitors.begin(), m_monitors.end(),
                            [&](const X11Monitor &m) { return m.name == name; });
    };
    const auto primary =
        std::find_if(m_monitors.begin(), m_monitors.end(), [](const X11Monitor &m) { return m.primary; });
    const X11Monitor &main = primary == m_monitors.end() ? m_monitors.front() : *primary;
    if (m_choice.rule == ScreenChoice::Rule::Main)
        return main;
    const std::string &wanted = followsPointer() ? m_name : m_choice.name;
    const auto found = named(wanted);
    const bool missed = found == m_monitors.end() && !wanted.empty();
    if (missed && !std::exchange(m_missed, !followsPointer()))
        Log::line("there is no screen '" + wanted + "': the effects are on the main one");
    if (!missed && std::exchange(m_missed, false))
        Log::line("the screen '" + wanted + "' is there: the effects are on it");
    return found == m_monitors.end() ? main : *found;
}

void X11Screens::settleOn(const X11Monitor &monitor) {
    const double asked = m_askScale ? m_askScale(monitor.name) : 1;
    const double scale = asked > 0 ? asked : 1;
    const bool changed = monitor.area != m_area || scale != m_scale;
    m_name = monitor.name;
    m_area = monitor.area;
    m_scale = scale;
    if (changed && m_changed)
        m_changed();
}

// Between the screens it stays where it is.
void X11Screens::pointerAt(QPoint place) {
    if (!followsPointer() || m_area.contains(place))
        return;
    const auto found = std::find_if(m_monitors.begin(), m_monitors.end(),
                                    [&](const X11Monitor &m) { return m.area.contains(place); });
    if (found != m_monitors.end())
        settleOn(*found);
}

void X11Screens::findPointer() {
    if (!followsPointer())
        return;
    const X11Reply<xcb_query_pointer_reply_t> reply(xcb_query_pointer_reply(
        m_connection.xcb(), xcb_query_pointer(m_connection.xcb(), m_connection.root()), nullptr));
    if (reply)
        pointerAt({reply->root_x, reply->root_y});
    else
        m_connection.checkAlive();
}

} // namespace companion
