#include "platform/x11/X11CompositorWatch.h"

#include "core/Log.h"

#include <xcb/composite.h>

namespace companion {

namespace {

// This family of compositors fades by its settings alone; a property of this name tells it from the others.
constexpr const char *kFadingFamily = "COMPTON_VERSION";

void logMissing() {
    Log::line("no compositor runs: the desktop around an effect is a still picture");
}

xcb_window_t createProbe(X11Connection &connection) {
    auto *c = connection.xcb();
    const auto window = xcb_generate_id(c);
    const std::uint32_t overrideRedirect = 1;
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, connection.root(), -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT,
                      &overrideRedirect);
    return window;
}

} // namespace

X11CompositorWatch::X11CompositorWatch(X11Connection &connection)
    : m_connection(connection),
      m_probe(createProbe(connection)),
      m_selection(connection, kSelection, [this] {
          if (running())
              Log::line("a compositor runs again: the overlay is translucent");
          else
              logMissing();
          if (m_changed)
              m_changed();
      }) {
    if (!running())
        logMissing();
}

bool X11CompositorWatch::blends(xcb_window_t shown) const {
    return running() && isRedirected(shown, false);
}

bool X11CompositorWatch::blends() const {
    return running() && isRedirected(m_probe, true);
}

// Only a window that is drawn apart from the screen has a picture of its own to be named.
bool X11CompositorWatch::isRedirected(xcb_window_t window, bool mapFirst) const {
    if (!m_connection.extensions().composite)
        return false;
    auto *c = m_connection.xcb();
    const auto pixmap = xcb_generate_id(c);
    if (mapFirst)
        xcb_map_window(c, window);
    const auto cookie = xcb_composite_name_window_pixmap_checked(c, window, pixmap);
    if (mapFirst)
        xcb_unmap_window(c, window);
    const X11Reply<xcb_generic_error_t> error(xcb_request_check(c, cookie));
    m_connection.checkAlive();
    if (!error)
        xcb_free_pixmap(c, pixmap);
    return !error;
}

bool X11CompositorWatch::fadesWindows() {
    const xcb_window_t owner = m_selection.owner();
    if (owner == m_askedOwner)
        return m_fades;
    auto *c = m_connection.xcb();
    const auto cookie =
        xcb_get_property(c, 0, owner, m_connection.atom(kFadingFamily), XCB_GET_PROPERTY_TYPE_ANY, 0, 1);
    const X11Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(c, cookie, nullptr));
    m_askedOwner = owner;
    m_fades = reply && reply->type != XCB_NONE;
    return m_fades;
}

} // namespace companion
