#pragma once

#include "core/Lifetime.h"
#include "platform/ports/OverlaySurface.h"
#include "platform/wayland/WaylandBuffers.h"
#include "platform/wayland/WaylandConnection.h"
#include "platform/wayland/WaylandOutputs.h"

#include <atomic>
#include <chrono>
#include <mutex>

namespace companion {

// The overlay: a surface on the layer above all windows, as large as its screen, that never has the keyboard.
// It exists only while it shows something or takes the mouse, and is made anew each time: where the
// compositor chooses the screen, it is the one that the user is at.
class WaylandSurface final : public OverlaySurface {
public:
    WaylandSurface(WaylandConnection &connection, MainQueue &queue, WaylandOutputs &outputs);

    Size size() const override { return m_outputs.size(); }
    QRect area() const override { return m_outputs.area(); }
    double scale() const override { return m_outputs.scale(); }
    bool translucent() const override { return true; }
    void onChanged(std::function<void()> listener) override { m_listener = std::move(listener); }
    void setLevel(int level) override;
    void setTakesMouse(bool takes) override;
    void raise() override;
    void stayBelow(std::uintptr_t) override {} // Whoever opens the settings ends the effects.
    void present(const SurfaceFrame &frame, const std::function<void(const PixelPatch &)> &paint) override;

    // Every press and motion on its screen comes to us.
    bool takesMouse() const { return m_inFront && m_takesMouse; }
    // Until it can show anything newer: zero, or some milliseconds after it has shown something.
    std::chrono::milliseconds rest() const;
    // A place on the surface, in the compositor's points from its top left, in overlay points.
    Point toOverlay(double x, double y) const;

    // Out of the way at once, while the main thread is stuck: on any thread.
    void rescue();
    // Afterwards, on the main thread.
    void putRight();

private:
    void arrange();
    void create();
    void destroy();
    void applyInputRegion();
    void configured(std::uint32_t serial, const QSize &size);
    void follow();
    void startOver();
    void commitDraft();

    WaylandConnection &m_connection;
    MainQueue &m_queue;
    WaylandOutputs &m_outputs;
    WaylandPtr<zwlr_layer_shell_v1> m_shell;
    WaylandPtr<wp_viewporter> m_viewporter;
    WaylandPtr<wl_region> m_nowhere;
    std::unique_ptr<WaylandMemory> m_nothing; // One transparent pixel.
    WaylandBuffers m_buffers;
    std::function<void()> m_listener;

    std::mutex m_mutex; // Guards the life of these, which a rescuer may use:
    WaylandPtr<wl_surface> m_surface;
    WaylandPtr<wp_viewport> m_viewport;
    WaylandPtr<zwlr_layer_surface_v1> m_layer;

    wl_output *m_askedFor = nullptr; // Null: the compositor's choice,
    wl_output *m_isOn = nullptr;     // which is this one. Only looked up, never used.
    QSize m_configured;              // The compositor's points; empty until it has said.
    bool m_inFront = false;
    bool m_takesMouse = false;
    bool m_occupied = false;
    std::atomic<bool> m_shows = false; // It has had a picture.
    bool m_refused = false;            // The compositor has closed it.
    bool m_waits = false;              // With a draft, for the end of the rest.
    std::chrono::steady_clock::time_point m_committed;
    Lifetime m_lifetime;
};

} // namespace companion
