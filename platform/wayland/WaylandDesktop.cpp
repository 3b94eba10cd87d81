#include "platform/wayland/WaylandDesktop.h"

#include "platform/wayland/WaylandConnection.h"
#include "platform/wayland/WaylandOutputs.h"

namespace companion {
namespace {

// The first that the compositor has, by the names that its own tools show.
std::string firstOf(const WaylandConnection &connection,
                    std::initializer_list<const wl_interface *> interfaces) {
    for (const wl_interface *each : interfaces)
        if (connection.offers(*each))
            return each->name;
    return {};
}

} // namespace

WaylandDesktop waylandDesktop() {
    WaylandDesktop desktop;
    const auto connection = WaylandConnection::reach(desktop.lack);
    if (!connection)
        return desktop;
    WaylandOutputs outputs(*connection, {});
    for (const auto &each : outputs.all())
        desktop.screens.push_back({each->name, QRect(each->logical.topLeft(), each->pixels()), each->scale(),
                                   each.get() == outputs.wanted()});
    desktop.click = firstOf(*connection,
                            {&zwlr_virtual_pointer_manager_v1_interface, &org_kde_kwin_fake_input_interface});
    desktop.still = firstOf(
        *connection, {&ext_image_copy_capture_manager_v1_interface, &zwlr_screencopy_manager_v1_interface});
    return desktop;
}

} // namespace companion
