#include "platform/wayland/WaylandSurface.h"

#include "core/Log.h"

#include <algorithm>
#include <utility>

using namespace std::chrono_literals;

namespace companion {
namespace {

constexpr int kFirstFrontLevel = 1000;
constexpr std::uint32_t kShellVersion = 4;
constexpr auto kBetweenCommits = 4ms; // Waiting for the compositor's frames would show older places.
constexpr auto *kScope = "presenter-companion";

} // namespace

WaylandSurface::WaylandSurface(WaylandConnection &connection, MainQueue &queue, WaylandOutputs &outputs)
    : m_connection(connection),
      m_queue(queue),
      m_outputs(outputs),
      m_shell(connection.bind<zwlr_layer_shell_v1>(zwlr_layer_shell_v1_interface, kShellVersion)),
      m_viewporter(connection.bind<wp_viewporter>(wp_viewporter_interface, 1)),
      m_nowhere(wl_compositor_create_region(connection.compositor())),
      m_nothing(WaylandMemory::make(connection.shm(), {1, 1}, 4, WL_SHM_FORMAT_ARGB8888)),
      m_buffers(connection.shm()) {
    m_buffers.setSize(outputs.pixels());
    m_buffers.onRoomAgain(m_lifetime.guard([this] { startOver(); }));
    outputs.onChanged([this] { follow(); });
}

Point WaylandSurface::toOverlay(double x, double y) const {
    if (m_configured.isEmpty())
        return {};
    const Size screen = size();
    return {x * screen.width / m_configured.width(),
            screen.height - y * screen.height / m_configured.height()};
}

void WaylandSurface::setLevel(int level) {
    const bool front = level >= kFirstFrontLevel;
    if (front == m_inFront)
        return;
    m_inFront = front;
    startOver();
}

void WaylandSurface::setTakesMouse(bool takes) {
    if (takes == m_takesMouse)
        return;
    m_takesMouse = takes;
    arrange();
    applyInputRegion();
    m_connection.flush();
}

void WaylandSurface::raise() {
    m_refused = false;
    if (m_layer && !m_takesMouse && m_outputs.wanted() == nullptr) {
        destroy(); // The user may be at another screen by now.
        startOver();
    }
}

void WaylandSurface::arrange() {
    const bool wanted =
        m_inFront && !m_refused && (m_occupied || m_takesMouse) && m_outputs.current() != nullptr;
    if (wanted && !m_layer)
        create();
    else if (!wanted && m_layer)
        destroy();
}

void WaylandSurface::create() {
    const WaylandOutput *output = m_outputs.wanted();
    m_askedFor = output != nullptr ? output->output.get() : nullptr;
    {
        const std::lock_guard lock(m_mutex);
        m_surface.reset(wl_compositor_create_surface(m_connection.compositor()));
        m_viewport.reset(wp_viewporter_get_viewport(m_viewporter.get(), m_surface.get()));
        m_layer.reset(zwlr_layer_shell_v1_get_layer_surface(m_shell.get(), m_surface.get(), m_askedFor,
                                                            ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, kScope));
    }
    static constexpr wl_surface_listener kSurfaceListener{
        .enter =
            [](void *data, wl_surface *, wl_output *entered) {
                auto &self = *static_cast<WaylandSurface *>(data);
                self.m_isOn = entered;
                self.m_outputs.entered(entered);
            },
        .leave = [](void *, wl_surface *, wl_output *) {}};
    static constexpr zwlr_layer_surface_v1_listener kLayerListener{
        .configure =
            [](void *self, zwlr_layer_surface_v1 *, std::uint32_t serial, std::uint32_t width,
               std::uint32_t height) {
                static_cast<WaylandSurface *>(self)->configured(
                    serial, QSize(static_cast<int>(width), static_cast<int>(height)));
            },
        .closed =
            [](void *data, zwlr_layer_surface_v1 *) {
                auto &self = *static_cast<WaylandSurface *>(data);
                self.m_refused = true; // Until it is next wanted, or the screens change.
                self.startOver();
            }};
    wl_surface_add_listener(m_surface.get(), &kSurfaceListener, this);
    zwlr_layer_surface_v1_add_listener(m_layer.get(), &kLayerListener, this);
    zwlr_layer_surface_v1_set_anchor(
        m_layer.get(), ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM |
                           ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT);
    zwlr_layer_surface_v1_set_exclusive_zone(m_layer.get(), -1); // Over panels, too.
    zwlr_layer_surface_v1_set_keyboard_interactivity(m_layer.get(),
                                                     ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_NONE);
    applyInputRegion(); // Without a picture yet: with this commit the compositor says how large it is.
}

void WaylandSurface::destroy() {
    {
        const std::lock_guard lock(m_mutex);
        m_layer.reset();
        m_viewport.reset();
        m_surface.reset();
    }
    m_buffers.drop();
    m_configured = {};
    m_isOn = nullptr;
    m_shows = false;
    m_connection.flush();
}

void WaylandSurface::applyInputRegion() {
    if (!m_surface)
        return;
    wl_surface_set_input_region(m_surface.get(), takesMouse() ? nullptr : m_nowhere.get());
    wl_surface_commit(m_surface.get());
}

void WaylandSurface::configured(std::uint32_t serial, const QSize &told) {
    zwlr_layer_surface_v1_ack_configure(m_layer.get(), serial);
    const WaylandOutput *output = m_outputs.current();
    m_configured = told.isEmpty() && output != nullptr ? output->logical.size() : told;
    if (m_configured.isEmpty())
        return;
    wp_viewport_set_destination(m_viewport.get(), m_configured.width(), m_configured.height());
    if (!m_shows)
        m_buffers.begin(); // Takes the mouse before there is anything to show.
    if (m_buffers.hasDraft())
        commitDraft();
    else
        wl_surface_commit(m_surface.get());
}

// Also where the compositor has chosen another screen than was thought.
void WaylandSurface::follow() {
    const WaylandOutput *wanted = m_outputs.wanted();
    const bool isElsewhere = m_askedFor != (wanted != nullptr ? wanted->output.get() : nullptr);
    const bool hasGone =
        m_isOn != nullptr && !m_outputs.has(m_isOn); // Not every compositor tells the surface.
    if (m_layer && (isElsewhere || hasGone))
        destroy();
    m_refused = false;
    m_buffers.setSize(m_outputs.pixels());
    startOver();
}

void WaylandSurface::putRight() {
    destroy();
    startOver();
}

// Nothing of the content counts any more: everything is painted again.
void WaylandSurface::startOver() {
    m_occupied = m_occupied && m_inFront;
    arrange();
    m_connection.flush();
    if (m_listener)
        m_listener();
}

void WaylandSurface::present(const SurfaceFrame &frame,
                             const std::function<void(const PixelPatch &)> &paint) {
    if (!m_inFront)
        return;
    const QRect all(QPoint(0, 0), m_outputs.pixels());
    m_occupied = std::any_of(frame.occupied.begin(), frame.occupied.end(),
                             [&](const QRect &area) { return area.intersects(all); });
    arrange();
    QRegion anew; // Most of where the disc was, as a rule.
    for (const auto &fill : frame.fills)
        anew += fill.area;
    for (const QRect &patch : frame.patches)
        anew += patch;
    if (!m_layer || !m_buffers.begin(anew))
        return;
    for (const auto &fill : frame.fills)
        m_buffers.fill(fill);
    for (const QRect &patch : frame.patches) {
        const bool first = &patch == &frame.patches.front();
        if (first && frame.picture != 0 && all.contains(patch))
            m_buffers.paintPicture(frame.picture, patch, paint);
        else
            m_buffers.paint(patch & all, paint);
    }
    commitDraft();
}

void WaylandSurface::commitDraft() {
    if (!m_layer || m_configured.isEmpty() || m_waits || !m_buffers.hasDraft())
        return;
    if (const auto left = rest(); left > 0ms) {
        m_waits = true;
        m_queue.post(left, m_lifetime.guard([this] {
            m_waits = false;
            commitDraft();
        }));
        return;
    }
    m_buffers.attach(m_surface.get(), !m_shows.exchange(true));
    wl_surface_commit(m_surface.get());
    m_connection.flush();
    m_committed = std::chrono::steady_clock::now();
}

std::chrono::milliseconds WaylandSurface::rest() const {
    const auto left = m_committed + kBetweenCommits - std::chrono::steady_clock::now();
    return std::max(std::chrono::ceil<std::chrono::milliseconds>(left), 0ms);
}

void WaylandSurface::rescue() {
    const std::lock_guard lock(m_mutex);
    if (!m_surface)
        return;
    wl_surface_set_input_region(m_surface.get(), m_nowhere.get());
    if (m_nothing && m_shows) {
        wl_surface_attach(m_surface.get(), m_nothing->buffer(), 0, 0);
        wl_surface_damage_buffer(m_surface.get(), 0, 0, 1, 1);
    }
    wl_surface_commit(m_surface.get());
    wl_display_flush(m_connection.display());
}

} // namespace companion
