#include "platform/x11/X11Watchdog.h"

#include "core/Log.h"
#include "platform/x11/X11Cursor.h"
#include "platform/x11/X11Surface.h"

#include <utility>

namespace companion {
namespace {

using namespace std::chrono_literals;

// The last beat may have been up to 0.1 s before the thread got stuck.
constexpr auto kLimit = 500ms;

} // namespace

X11Watchdog::X11Watchdog(MainQueue &queue, std::string displayName, X11Surface *surface, X11Cursor &cursor)
    : m_displayName(std::move(displayName)),
      m_surface(surface),
      m_cursor(cursor),
      m_watch(queue, kLimit,
              {.prepare =
                   [this] {
                       std::string error; // Without a connection nothing can be rescued: the effect stays.
                       m_link = X11Connection::connect(m_displayName, error);
                   },
               .rescue = [this] { rescue(); },
               .recovered =
                   [this] {
                       Log::line("the program was stuck; the overlay was out of the way meanwhile");
                       if (m_recovered)
                           m_recovered();
                       m_surface->putRight();
                   }}) {}

void X11Watchdog::rescue() {
    auto *c = m_link.xcb.get();
    if (c == nullptr)
        return;
    for (const auto window : m_surface->windows()) {
        // Out of the way first: a compositor may fade out what is unmapped.
        const std::uint32_t outside[] = {static_cast<std::uint32_t>(-1), static_cast<std::uint32_t>(-1), 1,
                                         1};
        xcb_configure_window(c, window,
                             XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                                 XCB_CONFIG_WINDOW_HEIGHT,
                             outside);
        xcb_unmap_window(c, window);
    }
    // Carried out before the main thread hears of it, so that it puts right what has happened.
    const X11Reply<xcb_get_input_focus_reply_t> done(
        xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    m_cursor.show();
}

} // namespace companion
