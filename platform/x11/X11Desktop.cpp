#include "platform/x11/X11Desktop.h"

#include "platform/x11/X11CompositorWatch.h"
#include "platform/x11/X11Properties.h"
#include "platform/x11/X11Screens.h"
#include "platform/x11/X11SelectionWatch.h"
#include "platform/x11/X11TrayArea.h"

#include <algorithm>

namespace companion {
namespace {

// Programs name such windows in one way or another.
std::string nameOf(const X11Connection::Link &link, xcb_window_t window) {
    for (const char *property : {"_NET_WM_NAME", "WM_CLASS", "WM_NAME"})
        if (const std::string text = x11Text(link, window, property); !text.empty())
            return text.c_str(); // A class is two texts, each with its end.
    return {};
}

bool sameClient(const X11Connection::Link &link, xcb_window_t one, xcb_window_t other) {
    const std::uint32_t client = ~xcb_get_setup(link.xcb.get())->resource_id_mask;
    return (one & client) == (other & client);
}

} // namespace

X11Desktop x11Desktop() {
    X11Desktop desktop;
    std::string error;
    const auto link = X11Connection::connect({}, error);
    if (!link.xcb)
        return desktop;
    const xcb_window_t manager = x11WindowManager(link);
    if (manager != XCB_NONE)
        desktop.windowManager = nameOf(link, manager);
    const xcb_window_t compositor = x11SelectionOwner(link, X11CompositorWatch::kSelection);
    desktop.compositor = compositor != XCB_NONE;
    if (desktop.compositor)
        desktop.compositorName = manager != XCB_NONE && sameClient(link, manager, compositor)
                                     ? desktop.windowManager
                                     : nameOf(link, compositor);
    desktop.xembedTray = x11SelectionOwner(link, X11TrayArea::kSelection) != XCB_NONE;
    const auto monitors = x11Monitors(link);
    const auto primary =
        std::find_if(monitors.begin(), monitors.end(), [](const auto &monitor) { return monitor.primary; });
    const auto main = primary != monitors.end() ? primary : monitors.begin();
    for (auto each = monitors.begin(); each != monitors.end(); ++each)
        desktop.screens.push_back({each->name, each->area, each == main});
    return desktop;
}

} // namespace companion
