#include "platform/wayland/WaylandInputMonitor.h"

#include "platform/ports/SlideKeys.h"
#include "platform/wayland/WaylandPointers.h"

#include <algorithm>
#include <utility>

namespace companion {
namespace {

bool isMotion(InputEventType type) {
    return type == InputEventType::MouseMoved || type == InputEventType::LeftMouseDragged ||
           type == InputEventType::RightMouseDragged;
}

void forgetMotions(std::vector<InputEvent> &events) {
    std::erase_if(events, [](const InputEvent &event) { return isMotion(event.type); });
}

InputEventType motionWith(unsigned buttons) {
    if ((buttons & WaylandPointers::kLeft) != 0)
        return InputEventType::LeftMouseDragged;
    return (buttons & WaylandPointers::kRight) != 0 ? InputEventType::RightMouseDragged
                                                    : InputEventType::MouseMoved;
}

} // namespace

WaylandInputMonitor::WaylandInputMonitor(WaylandConnection &connection, MainQueue &queue,
                                         WaylandSurface &surface, SlideKeys *keys)
    : m_queue(queue),
      m_surface(surface) {
    connection.onBatchEnd([this] { deliver(); });
    if (keys != nullptr)
        keys->onKeyDown([this](int keyCode) {
            append(InputEventType::KeyDown, m_place.value_or(Point()), keyCode);
            deliver();
        });
}

void WaylandInputMonitor::addGlobalMonitor(unsigned mask, Handler handler) {
    m_monitors.push_back({mask, std::move(handler)});
}

void WaylandInputMonitor::followMotion(bool follow) {
    m_following = follow;
    if (follow)
        return;
    m_place.reset(); // From here on the mouse is not ours to see.
    forgetMotions(m_pending);
}

void WaylandInputMonitor::moved(double x, double y, unsigned buttons) {
    m_place = m_surface.toOverlay(x, y);
    if (!m_following)
        return;
    // Motions of one lot are one event, where the last of them ends.
    forgetMotions(m_pending);
    append(motionWith(buttons), *m_place);
}

void WaylandInputMonitor::released(unsigned button) {
    if (button == WaylandPointers::kLeft)
        append(InputEventType::LeftMouseUp, m_place.value_or(Point()));
    else if (button == WaylandPointers::kRight)
        append(InputEventType::RightMouseUp, m_place.value_or(Point()));
}

void WaylandInputMonitor::placed(Point at) {
    if (!m_following || !m_surface.takesMouse())
        return;
    m_place = at;
    append(InputEventType::MouseMoved, at);
    m_queue.post(std::chrono::milliseconds(0), m_lifetime.guard([this] { deliver(); }));
}

void WaylandInputMonitor::append(InputEventType type, Point at, int keyCode) {
    m_pending.push_back({type, at, keyCode});
}

// Places that would be painted over before they are seen, in one more picture of the screen.
bool WaylandInputMonitor::canWait() {
    const bool onlyMotions = std::all_of(m_pending.begin(), m_pending.end(),
                                         [](const InputEvent &event) { return isMotion(event.type); });
    const auto rest = m_surface.rest();
    if (!onlyMotions || rest.count() == 0)
        return false;
    if (!m_waits) {
        m_waits = true;
        m_queue.post(rest, m_lifetime.guard([this] {
            m_waits = false;
            deliver();
        }));
    }
    return true;
}

void WaylandInputMonitor::deliver() {
    if (m_pending.empty() || canWait())
        return;
    // A handler may run an event loop of its own, which delivers from m_pending again.
    std::vector<InputEvent> events = std::move(m_delivering);
    std::swap(events, m_pending);
    for (const InputEvent &event : events)
        for (std::size_t i = 0; i < m_monitors.size(); ++i)
            if ((m_monitors[i].mask & (1U << static_cast<unsigned>(event.type))) != 0)
                m_monitors[i].handler(event);
    events.clear();
    m_delivering = std::move(events); // Keeps its memory for the next lot.
}

} // namespace companion
