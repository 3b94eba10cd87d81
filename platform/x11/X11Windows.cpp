#include "platform/x11/X11Windows.h"

#include "core/StartupId.h"
#include "platform/x11/X11Properties.h"

#include <QGuiApplication>
#include <QRegion>

#include <xcb/shape.h>

#include <algorithm>
#include <cstring>

namespace companion {
namespace {

constexpr std::uint32_t kEveryDesktop = 0xFFFFFFFF;
constexpr std::uint32_t kSourcePager = 2; // Speaks for the user; window managers refuse programs more often.

// The server's time now. Over a connection of its own, since it comes as an event.
xcb_timestamp_t serverTime() {
    std::string error;
    const auto link = X11Connection::connect({}, error);
    if (!link.xcb)
        return XCB_CURRENT_TIME;
    auto *c = link.xcb.get();
    const xcb_window_t window = xcb_generate_id(c);
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screenOf(link).root, -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    xcb_change_property(c, XCB_PROP_MODE_APPEND, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0, nullptr);
    xcb_flush(c);
    while (const X11Reply<xcb_generic_event_t> event{xcb_wait_for_event(c)})
        if ((event->response_type & 0x7F) == XCB_PROPERTY_NOTIFY)
            return reinterpret_cast<const xcb_property_notify_event_t &>(*event).time;
    return XCB_CURRENT_TIME;
}

// Which a compositor's own window does, above all others.
bool letsMouseThrough(xcb_connection_t *c, xcb_window_t window) {
    const X11Reply<xcb_shape_get_rectangles_reply_t> shape(
        xcb_shape_get_rectangles_reply(c, xcb_shape_get_rectangles(c, window, XCB_SHAPE_SK_INPUT), nullptr));
    return shape && xcb_shape_get_rectangles_rectangles_length(shape.get()) == 0;
}

} // namespace

void X11Windows::announce(Window window, const std::string &startupId) {
    auto *c = toolkit();
    const auto id = static_cast<xcb_window_t>(window);
    if (startupId.empty())
        xcb_delete_property(c, id, atom("_NET_STARTUP_ID"));
    else
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, id, atom("_NET_STARTUP_ID"), atom("UTF8_STRING"), 8,
                            static_cast<std::uint32_t>(startupId.size()), startupId.data());
    if (const std::uint32_t time = startupTime(startupId))
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, id, atom("_NET_WM_USER_TIME"), XCB_ATOM_CARDINAL, 32, 1,
                            &time);
}

// A text in pieces of 20 bytes, its end included, sent to everybody by a window that need not be shown.
void X11Windows::startupEnded(const std::string &startupId) {
    if (startupId.empty())
        return;
    std::string text = "remove: ID=\"";
    for (const char letter : startupId) {
        if (letter == '"' || letter == '\\')
            text += '\\';
        text += letter;
    }
    text += '"';
    auto *c = m_connection.xcb();
    const xcb_window_t sender = xcb_generate_id(c);
    xcb_create_window(c, XCB_COPY_FROM_PARENT, sender, m_connection.root(), -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 8;
    message.window = sender;
    message.type = atom("_NET_STARTUP_INFO_BEGIN");
    for (std::size_t at = 0; at <= text.size(); at += sizeof message.data.data8) {
        std::memset(&message.data, 0, sizeof message.data);
        std::memcpy(&message.data, text.data() + at, std::min(sizeof message.data.data8, text.size() - at));
        xcb_send_event(c, 0, m_connection.root(), XCB_EVENT_MASK_PROPERTY_CHANGE,
                       reinterpret_cast<const char *>(&message));
        message.type = atom("_NET_STARTUP_INFO");
    }
    xcb_destroy_window(c, sender);
    m_connection.flush();
}

// Window managers that know no "above", such as tiling ones, show only a full-screen window's own dialogs
// above it. Asked to activate another one they would end the full screen.
OwnWindows::Window X11Windows::owner() const {
    if (!x11WindowManager(m_connection.link()) ||
        holds(m_connection.root(), "_NET_SUPPORTED", "_NET_WM_STATE_ABOVE"))
        return 0;
    const auto active = x11Numbers(m_connection.link(), m_connection.root(), "_NET_ACTIVE_WINDOW");
    if (active.empty() || !holds(active.front(), "_NET_WM_STATE", "_NET_WM_STATE_FULLSCREEN"))
        return 0;
    return active.front();
}

void X11Windows::activate(Window window, const std::string &startupId) {
    const auto active = x11Numbers(m_connection.link(), m_connection.root(), "_NET_ACTIVE_WINDOW");
    if (!active.empty() && active.front() == window)
        return;
    const std::uint32_t asked = startupTime(startupId);
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window);
    message.type = atom("_NET_ACTIVE_WINDOW");
    message.data.data32[0] = kSourcePager;
    message.data.data32[1] = asked != 0 ? asked : serverTime();
    auto *c = toolkit();
    const std::uint32_t top = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(c, message.window, XCB_CONFIG_WINDOW_STACK_MODE, &top);
    xcb_send_event(c, 0, m_connection.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char *>(&message));
    xcb_flush(c);
}

OwnWindows::Sight X11Windows::look(Window window) const {
    auto *c = m_connection.xcb();
    const auto own = static_cast<xcb_window_t>(window);
    if (!x11IsVisible(c, own) || onAnotherDesktop(own) || holds(own, "_NET_WM_STATE", "_NET_WM_STATE_HIDDEN"))
        return Sight::Absent;
    const xcb_window_t frame = x11FrameOf(c, m_connection.root(), own);
    const auto stack = x11ChildrenOf(c, m_connection.root());
    QRegion seen = x11ExtentOf(c, frame).area & x11ExtentOf(c, m_connection.root()).area;
    const auto pixels = [&seen] {
        std::int64_t sum = 0;
        for (const QRect &area : seen)
            sum += std::int64_t{area.width()} * area.height();
        return sum;
    };
    const std::int64_t all = pixels();
    for (auto above = std::find(stack.begin(), stack.end(), frame); above != stack.end(); ++above)
        if (*above != frame && !isOurs(*above, own) && hides(*above))
            seen -= x11ExtentOf(c, *above).area;
    return pixels() * 2 > all ? Sight::Seen : Sight::Covered;
}

// None where the toolkit is not on X11, as in tests.
xcb_connection_t *X11Windows::toolkit() const {
    auto *gui = qobject_cast<QGuiApplication *>(QCoreApplication::instance());
    auto *x11 = gui == nullptr ? nullptr : gui->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr && x11->connection() != nullptr ? x11->connection() : m_connection.xcb();
}

bool X11Windows::holds(xcb_window_t window, const char *property, const char *atomName) const {
    const auto atoms = x11Numbers(m_connection.link(), window, property);
    return std::find(atoms.begin(), atoms.end(), atom(atomName)) != atoms.end();
}

bool X11Windows::onAnotherDesktop(xcb_window_t window) const {
    const auto its = x11Numbers(m_connection.link(), window, "_NET_WM_DESKTOP");
    const auto shown = x11Numbers(m_connection.link(), m_connection.root(), "_NET_CURRENT_DESKTOP");
    return !its.empty() && !shown.empty() && its.front() != kEveryDesktop && its.front() != shown.front();
}

// The overlay, and menus and dialogs of the toolkit.
bool X11Windows::isOurs(xcb_window_t window, xcb_window_t oneOfTheToolkit) const {
    const auto *setup = xcb_get_setup(m_connection.xcb());
    const std::uint32_t client = ~setup->resource_id_mask;
    return (window & client) == setup->resource_id_base || (window & client) == (oneOfTheToolkit & client);
}

// Windows with an alpha channel hide what is below if they say that they are opaque.
bool X11Windows::hides(xcb_window_t window) const {
    auto *c = m_connection.xcb();
    if (!x11IsVisible(c, window) || letsMouseThrough(c, window))
        return false;
    if (x11ExtentOf(c, window).opaque)
        return true;
    auto parts = x11ChildrenOf(c, window); // In a frame.
    parts.push_back(window);
    return std::any_of(parts.begin(), parts.end(), [this](xcb_window_t part) {
        return !x11Numbers(m_connection.link(), part, "_NET_WM_OPAQUE_REGION").empty();
    });
}

} // namespace companion
