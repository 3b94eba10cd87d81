#include "platform/wayland/WaylandCursor.h"

#include "core/RunBeside.h"
#include "platform/wayland/WaylandOutputs.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string>

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
    loadArrow();
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
    m_pointers.setCursor(m_arrow.get(), m_hotspotX, m_hotspotY);
}

// Of a theme the library reads every cursor from the disk: 16 ms on a fast one.
void WaylandCursor::loadArrow() {
    const WaylandOutput *output = m_outputs.current();
    const int factor = output != nullptr ? output->factor : 1;
    if (factor == m_factor)
        return;
    m_factor = factor;
    const char *name = std::getenv("XCURSOR_THEME");
    const auto load = [theme = std::string(name != nullptr ? name : ""), size = arrowSize() * factor,
                       shm = m_connection.shm()] {
        return std::shared_ptr<wl_cursor_theme>(
            wl_cursor_theme_load(theme.empty() ? nullptr : theme.c_str(), size, shm),
            [](wl_cursor_theme *old) {
                if (old != nullptr)
                    wl_cursor_theme_destroy(old);
            });
    };
    runBeside<std::shared_ptr<wl_cursor_theme>>(
        load, m_lifetime.guard([this, factor](const std::shared_ptr<wl_cursor_theme> &theme) {
            if (factor != m_factor)
                return;
            m_pointers.setCursor(nullptr, 0, 0);
            m_arrow.reset();
            m_theme = theme;
            if (theme)
                takeArrowFrom(*theme);
            if (!m_hidden)
                m_pointers.setCursor(m_arrow.get(), m_hotspotX, m_hotspotY);
            m_connection.flush();
        }));
}

void WaylandCursor::takeArrowFrom(wl_cursor_theme &theme) {
    wl_cursor *arrow = wl_cursor_theme_get_cursor(&theme, "default");
    if (arrow == nullptr)
        arrow = wl_cursor_theme_get_cursor(&theme, "left_ptr");
    if (arrow == nullptr || arrow->image_count == 0)
        return;
    const int factor = m_factor;
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
