#include "platform/wayland/WaylandCursor.h"

#include "platform/wayland/WaylandOutputs.h"

#include <charconv>
#include <cstdlib>
#include <cstring>

namespace companion {
namespace {

// As the desktop tells its programs; 24 points is what all of them mean where nothing is said.
int arrowSize() {
    constexpr int kUsual = 24;
    constexpr int kLargest = 512;
    const char *text = std::getenv("XCURSOR_SIZE");
    int size = 0;
    if (text == nullptr || std::from_chars(text, text + std::strlen(text), size).ec != std::errc())
        return kUsual;
    return size > 0 && size <= kLargest ? size : kUsual;
}

} // namespace

WaylandCursor::WaylandCursor(WaylandConnection &connection, WaylandPointers &pointers,
                             WaylandOutputs &outputs)
    : m_connection(connection),
      m_pointers(pointers),
      m_outputs(outputs) {}

void WaylandCursor::setHiddenUntilMouseMoves() {
    if (m_hidden)
        return;
    m_hidden = true;
    m_pointers.setCursor(nullptr, 0, 0);
    m_connection.flush();
}

void WaylandCursor::show() {
    if (!m_hidden)
        return;
    m_hidden = false;
    loadArrow();
    m_pointers.setCursor(m_arrow.get(), m_hotspotX, m_hotspotY);
}

void WaylandCursor::loadArrow() {
    const WaylandOutput *output = m_outputs.current();
    const int factor = output != nullptr ? output->factor : 1;
    if (factor == m_factor)
        return;
    m_factor = factor;
    m_pointers.setCursor(nullptr, 0, 0);
    m_arrow.reset();
    m_theme.reset(
        wl_cursor_theme_load(std::getenv("XCURSOR_THEME"), arrowSize() * factor, m_connection.shm()));
    if (!m_theme)
        return;
    wl_cursor *arrow = wl_cursor_theme_get_cursor(m_theme.get(), "default");
    if (arrow == nullptr)
        arrow = wl_cursor_theme_get_cursor(m_theme.get(), "left_ptr");
    if (arrow == nullptr || arrow->image_count == 0)
        return;
    wl_cursor_image *image = arrow->images[0];
    m_arrow.reset(wl_compositor_create_surface(m_connection.compositor()));
    const bool divides =
        static_cast<int>(image->width) % factor == 0 && static_cast<int>(image->height) % factor == 0;
    const int scale = divides ? factor : 1; // Others are refused.
    wl_surface_set_buffer_scale(m_arrow.get(), scale);
    wl_surface_attach(m_arrow.get(), wl_cursor_image_get_buffer(image), 0, 0);
    wl_surface_damage_buffer(m_arrow.get(), 0, 0, static_cast<int>(image->width),
                             static_cast<int>(image->height));
    wl_surface_commit(m_arrow.get());
    m_hotspotX = static_cast<int>(image->hotspot_x) / scale;
    m_hotspotY = static_cast<int>(image->hotspot_y) / scale;
}

} // namespace companion
