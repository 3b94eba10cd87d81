#include "platform/wayland/WaylandMouse.h"

#include "core/Log.h"

#include <linux/input-event-codes.h>

#include <chrono>

namespace companion {
namespace {

constexpr std::uint32_t kPointersVersion = 2; // On a screen of our choice.
constexpr std::uint32_t kFeignedVersion = 4;

std::uint32_t milliseconds() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

// A place in points is exact to 1/256 of one.
std::uint32_t fine(double points) {
    return static_cast<std::uint32_t>(wl_fixed_from_double(std::max(0.0, points)));
}

} // namespace

WaylandMouse::WaylandMouse(WaylandConnection &connection, WaylandOutputs &outputs, WaylandSurface &surface,
                           DesktopMouse *other)
    : m_connection(connection),
      m_outputs(outputs),
      m_surface(surface),
      m_other(other),
      m_pointers(connection.bind<zwlr_virtual_pointer_manager_v1>(zwlr_virtual_pointer_manager_v1_interface,
                                                                  kPointersVersion)),
      m_feigned(
          connection.bind<org_kde_kwin_fake_input>(org_kde_kwin_fake_input_interface, kFeignedVersion)) {
    if (m_pointers && zwlr_virtual_pointer_manager_v1_get_version(m_pointers.get()) < kPointersVersion)
        m_pointers.reset();
    if (m_feigned && org_kde_kwin_fake_input_get_version(m_feigned.get()) <
                         ORG_KDE_KWIN_FAKE_INPUT_POINTER_MOTION_ABSOLUTE_SINCE_VERSION)
        m_feigned.reset();
    if (m_feigned)
        org_kde_kwin_fake_input_authenticate(m_feigned.get(), "Presenter Companion",
                                             "a click in the screen's centre when an effect starts and ends");
    if (!available())
        Log::line(
            "the compositor lets no program click: effects start and end without the click in the centre");
}

bool WaylandMouse::available() const {
    return m_pointers || m_feigned || (m_other != nullptr && m_other->available());
}

void WaylandMouse::post(SyntheticMouseEvent event, QPointF where) {
    const bool moves = event == SyntheticMouseEvent::MouseMoved;
    if (m_outputs.current() == nullptr || (m_surface.takesMouse() && !moves))
        return;
    if (m_pointers)
        postVirtual(event, where);
    else if (m_feigned)
        postFeigned(event, where);
    else if (m_other != nullptr && m_outputs.desktop() == m_outputs.current()->logical)
        m_other->post(event, where, m_outputs.desktop().size());
    m_connection.flush();
    if (moves && m_moved)
        m_moved({where.x(), m_outputs.size().height - where.y()});
}

void WaylandMouse::postVirtual(SyntheticMouseEvent event, QPointF where) {
    const WaylandOutput &output = *m_outputs.current();
    if (!m_pointer || m_pointerOn != output.global) {
        m_pointer.reset(zwlr_virtual_pointer_manager_v1_create_virtual_pointer_with_output(
            m_pointers.get(), nullptr, output.output.get()));
        m_pointerOn = output.global;
    }
    const Size screen = m_outputs.size();
    if (event == SyntheticMouseEvent::MouseMoved)
        zwlr_virtual_pointer_v1_motion_absolute(m_pointer.get(), milliseconds(), fine(where.x()),
                                                fine(where.y()), fine(screen.width), fine(screen.height));
    else
        zwlr_virtual_pointer_v1_button(m_pointer.get(), milliseconds(), BTN_LEFT,
                                       event == SyntheticMouseEvent::LeftMouseDown
                                           ? WL_POINTER_BUTTON_STATE_PRESSED
                                           : WL_POINTER_BUTTON_STATE_RELEASED);
    zwlr_virtual_pointer_v1_frame(m_pointer.get());
}

void WaylandMouse::postFeigned(SyntheticMouseEvent event, QPointF where) {
    const QPointF place = m_outputs.current()->logical.topLeft() + where;
    if (event == SyntheticMouseEvent::MouseMoved)
        org_kde_kwin_fake_input_pointer_motion_absolute(m_feigned.get(), wl_fixed_from_double(place.x()),
                                                        wl_fixed_from_double(place.y()));
    else
        org_kde_kwin_fake_input_button(m_feigned.get(), BTN_LEFT,
                                       event == SyntheticMouseEvent::LeftMouseDown ? 1 : 0);
}

} // namespace companion
