#include "platform/x11/X11Stacking.h"

#include "platform/x11/X11Properties.h"

#include <algorithm>
#include <ranges>
#include <utility>

namespace companion {
namespace {

template <class Container>
bool holds(const Container &all, xcb_window_t window) {
    return std::find(all.begin(), all.end(), window) != all.end();
}

} // namespace

X11Stacking::X11Stacking(X11Connection &connection, const X11Screens &screens,
                         std::array<xcb_window_t, 2> windows)
    : m_connection(connection),
      m_screens(screens),
      m_windows(windows) {
    const auto note = [this](const xcb_generic_event_t &event) {
        // All of these events begin alike.
        const auto window = reinterpret_cast<const xcb_map_notify_event_t &>(event).window;
        m_changed = m_changed || (!m_above.empty() && !isOurs(window));
    };
    for (const auto type : {XCB_MAP_NOTIFY, XCB_UNMAP_NOTIFY, XCB_REPARENT_NOTIFY, XCB_DESTROY_NOTIFY,
                            XCB_CONFIGURE_NOTIFY, XCB_CIRCULATE_NOTIFY})
        m_connection.onEvent(static_cast<std::uint8_t>(type), note);
    m_connection.onBatchEnd([this] {
        if (std::exchange(m_changed, false))
            follow();
    });
}

void X11Stacking::stayBelow(xcb_window_t window) {
    if (!holds(m_above, window))
        m_above.push_back(window);
    const std::uint32_t changes = XCB_EVENT_MASK_STRUCTURE_NOTIFY; // It may lie deep in a frame.
    xcb_change_window_attributes(m_connection.xcb(), window, XCB_CW_EVENT_MASK, &changes);
    m_connection.askRootFor(XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
    raise();
}

void X11Stacking::raise() {
    const Standing now = look();
    place(now.above.empty() || covered(now) ? xcb_window_t{XCB_NONE} : now.above.front());
}

void X11Stacking::follow() {
    const bool wasBelowSome = m_belowSome;
    const Standing now = look();
    if (now.above.empty()) {
        if (wasBelowSome)
            place(XCB_NONE);
    } else if (!rightBelow(now) && !covered(now)) {
        place(now.above.front());
    }
}

X11Stacking::Standing X11Stacking::look() {
    if (m_above.empty())
        return {};
    auto *c = m_connection.xcb();
    std::vector<xcb_window_t> frames;
    std::erase_if(m_above, [&](xcb_window_t window) {
        const xcb_window_t frame = x11FrameOf(c, m_connection.root(), window);
        if (frame != XCB_NONE && x11IsVisible(c, window))
            frames.push_back(frame);
        return frame == XCB_NONE;
    });
    if (m_above.empty())
        m_connection.askRootFor(XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY, false);
    m_belowSome = !frames.empty();

    Standing standing;
    if (m_belowSome)
        standing.all = x11ChildrenOf(c, m_connection.root());
    for (const xcb_window_t window : standing.all)
        if (holds(frames, window))
            standing.above.push_back(window);
    return standing;
}

bool X11Stacking::covered(const Standing &standing) const {
    auto *c = m_connection.xcb();
    const auto lowest = std::find(standing.all.begin(), standing.all.end(), standing.above.front());
    return std::any_of(lowest, standing.all.end(), [&](xcb_window_t window) {
        if (holds(standing.above, window) || isOurs(window) || !x11IsVisible(c, window))
            return false;
        const X11Extent extent = x11ExtentOf(c, window);
        return extent.opaque && extent.area.contains(m_screens.area());
    });
}

bool X11Stacking::rightBelow(const Standing &standing) const {
    const auto lowest = std::find(standing.all.begin(), standing.all.end(), standing.above.front());
    return lowest - standing.all.begin() >= std::ssize(m_windows) &&
           std::equal(m_windows.begin(), m_windows.end(), lowest - std::ssize(m_windows));
}

// Below that window, or above all if it is none. From the top down, so that nothing moves which is in its
// place: for each move the compositor draws the whole screen.
void X11Stacking::place(xcb_window_t below) {
    auto *c = m_connection.xcb();
    for (const xcb_window_t window : std::views::reverse(m_windows)) {
        if (below == XCB_NONE) {
            const std::uint32_t top = XCB_STACK_MODE_ABOVE;
            xcb_configure_window(c, window, XCB_CONFIG_WINDOW_STACK_MODE, &top);
        } else {
            const std::uint32_t values[] = {below, XCB_STACK_MODE_BELOW};
            xcb_configure_window(c, window, XCB_CONFIG_WINDOW_SIBLING | XCB_CONFIG_WINDOW_STACK_MODE, values);
        }
        below = window;
    }
    m_connection.flush();
}

bool X11Stacking::isOurs(xcb_window_t window) const {
    return holds(m_windows, window);
}

} // namespace companion
