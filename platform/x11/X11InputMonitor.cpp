#include "platform/x11/X11InputMonitor.h"

#include "platform/ports/SlideKeys.h"

#include <xcb/xinput.h>

#include <algorithm>
#include <utility>

namespace companion {

namespace {

struct Key {
    std::uint32_t keycode; // The kernel's key code plus 8: the position on the board, whatever the layout.
    int virtualKey;
};
constexpr Key kKeys[] = {
    {56, kVirtualKeyB},
    {71, kVirtualKeyF5},
    {112, kVirtualKeyPageUp},
    {117, kVirtualKeyPageDown},
};

struct Button {
    std::uint32_t number;
    InputEventType released;
};
constexpr Button kButtons[] = {{1, InputEventType::LeftMouseUp}, {3, InputEventType::RightMouseUp}};

constexpr unsigned bit(InputEventType type) {
    return 1u << static_cast<unsigned>(type);
}

constexpr unsigned kMotions = bit(InputEventType::MouseMoved) | bit(InputEventType::LeftMouseDragged) |
                              bit(InputEventType::RightMouseDragged);

InputEventType motionWith(std::uint16_t buttons) {
    if (buttons & XCB_BUTTON_MASK_1)
        return InputEventType::LeftMouseDragged;
    return buttons & XCB_BUTTON_MASK_3 ? InputEventType::RightMouseDragged : InputEventType::MouseMoved;
}

} // namespace

X11InputMonitor::X11InputMonitor(X11Connection &connection, X11Screens &screens, Source source,
                                 SlideKeys *keys)
    : m_connection(connection),
      m_screens(screens),
      m_source(source) {
    select(false);
    connection.onEvent(XCB_GE_GENERIC, [this](const xcb_generic_event_t &event) { collect(event); });
    connection.onEvent(XCB_MOTION_NOTIFY, [this](const xcb_generic_event_t &event) {
        const auto &motion = reinterpret_cast<const xcb_motion_notify_event_t &>(event);
        if (m_source == Source::OwnWindow)
            moved(event);
        m_pointer = {motion.root_x, motion.root_y, motion.state};
    });
    if (m_source == Source::OwnWindow)
        connection.onEvent(XCB_BUTTON_RELEASE, [this](const xcb_generic_event_t &event) {
            released(reinterpret_cast<const xcb_button_release_event_t &>(event).detail);
        });
    connection.onBatchEnd([this] { deliver(); });
    if (keys != nullptr)
        keys->onKeyDown([this](int keyCode) {
            append(InputEventType::KeyDown, keyCode);
            deliver();
        });
}

void X11InputMonitor::select(bool motions) {
    if (m_source == Source::OwnWindow)
        return;
    m_motionsSelected = motions;
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } select{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, // All devices would tell everything twice.
             XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE |
                 XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE};
    if (motions)
        select.mask |= XCB_INPUT_XI_EVENT_MASK_RAW_MOTION;
    xcb_input_xi_select_events(m_connection.xcb(), m_connection.root(), 1, &select.head);
    m_connection.flush();
}

// Turned off with the next motion that nobody needs: the one that shows a hidden cursor may still be to come.
void X11InputMonitor::followMotion(bool follow) {
    m_hasMoved = m_hasMoved && m_following;
    m_following = follow;
    if (follow)
        awaitMotion();
}

void X11InputMonitor::assume(QPoint place) {
    if (!m_following || m_hasMoved)
        return;
    m_pointer = {place.x(), place.y(), 0};
    append(InputEventType::MouseMoved);
    deliver();
}

void X11InputMonitor::awaitMotion() {
    if (!m_motionsSelected)
        select(true);
}

void X11InputMonitor::addGlobalMonitor(unsigned mask, Handler handler) {
    m_monitors.push_back({mask, std::move(handler)});
    m_wanted |= mask;
}

void X11InputMonitor::collect(const xcb_generic_event_t &event) {
    const auto &raw = reinterpret_cast<const xcb_input_raw_button_press_event_t &>(event);
    if (raw.extension != m_connection.extensions().xinputOpcode)
        return;
    switch (raw.event_type) {
    case XCB_INPUT_RAW_MOTION:
        moved(event);
        break;
    case XCB_INPUT_RAW_BUTTON_RELEASE:
        released(raw.detail);
        break;
    case XCB_INPUT_RAW_KEY_PRESS:
    case XCB_INPUT_RAW_KEY_RELEASE:
        for (const auto &key : kKeys)
            if (key.keycode == raw.detail)
                append(raw.event_type == XCB_INPUT_RAW_KEY_PRESS ? InputEventType::KeyDown
                                                                 : InputEventType::KeyUp,
                       key.virtualKey);
        break;
    default:
        break;
    }
}

void X11InputMonitor::moved(const xcb_generic_event_t &event) {
    m_pointer.reset();
    m_hasMoved = true;
    if (!(m_rawMotion && m_rawMotion(event.full_sequence)) && !m_following && m_motionsSelected)
        select(false);
    if (!m_following || (m_wanted & kMotions) == 0)
        return;
    // Motions of one lot are one event, where the last of them stands.
    std::erase_if(m_pending, [](const auto &e) { return e.type == InputEventType::MouseMoved; });
    append(InputEventType::MouseMoved);
}

void X11InputMonitor::released(std::uint32_t number) {
    for (const auto &button : kButtons)
        if (button.number == number)
            append(button.released);
}

void X11InputMonitor::append(InputEventType type, int keyCode) {
    if (type == InputEventType::MouseMoved || (m_wanted & bit(type)))
        m_pending.push_back({type, {}, keyCode});
}

// Nothing only if the server will not say.
std::optional<X11InputMonitor::Pointer> X11InputMonitor::askPointer() const {
    const auto cookie = xcb_query_pointer(m_connection.xcb(), m_connection.root());
    const X11Reply<xcb_query_pointer_reply_t> reply(
        xcb_query_pointer_reply(m_connection.xcb(), cookie, nullptr));
    if (!reply) {
        m_connection.checkAlive();
        return std::nullopt;
    }
    m_connection.sawReplyTo(cookie.sequence);
    return Pointer{reply->root_x, reply->root_y, reply->mask};
}

std::optional<Point> X11InputMonitor::pointer() const {
    const auto place = askPointer();
    return place ? std::optional(m_screens.toOverlay(place->x, place->y)) : std::nullopt;
}

bool X11InputMonitor::findPointer() {
    // Only a motion that has just come tells where the pointer is now. When asked for, events that came with
    // the answer stay queued: some may be younger than it, and it tells nothing of where those moved the
    // pointer.
    if (!m_pointer)
        m_pointer = askPointer();
    return m_pointer.has_value();
}

void X11InputMonitor::deliver() {
    if (m_pending.empty() || !findPointer()) {
        m_pending.clear();
        m_pointer.reset();
        return;
    }
    if (m_following)
        m_screens.pointerAt({m_pointer->x, m_pointer->y});
    const Point location = m_screens.toOverlay(m_pointer->x, m_pointer->y);
    const InputEventType motion = motionWith(m_pointer->buttons);
    m_pointer.reset();
    // A handler may run an event loop of its own, which delivers from m_pending again.
    std::vector<InputEvent> events = std::move(m_delivering);
    std::swap(events, m_pending);
    for (auto &event : events) {
        if (event.type == InputEventType::MouseMoved)
            event.type = motion;
        event.location = location;
        for (std::size_t i = 0; i < m_monitors.size(); ++i)
            if (m_monitors[i].mask & bit(event.type))
                m_monitors[i].handler(event);
    }
    events.clear();
    m_delivering = std::move(events); // Keeps its memory for the next lot.
}

} // namespace companion
