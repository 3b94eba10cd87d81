#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "overlay/View.h"

#include <functional>
#include <memory>
#include <vector>

namespace companion {

// Brings the tree of views onto the overlay's window.
//
// Marking a view is whole-view; painting is not. A display pass compares what each visible layer shows with
// what it showed last and presents only the difference: details that changed as patches to paint, uniform
// areas as fills that cost the program nothing. The cost of a moving disc follows the disc, never the screen.
class OverlayCanvas {
public:
    // Both must outlive the canvas. Display passes run on the queue, one for all marks made before it.
    OverlayCanvas(OverlaySurface &surface, MainQueue &queue);

    // Fills the main screen; never null, never replaced.
    const std::shared_ptr<View> &root() const { return m_root; }

    // Called after the screen, its size or its scale changed and the root's frame follows.
    void onScreenChanged(std::function<void()> listener) { m_screenChanged = std::move(listener); }

    // Every pixel that the rectangle touches.
    QRect pixels(const PointRect &rect) const { return m_space.touched(m_space.toPixels(rect)); }

    // While true no layer that reaches into that area (device pixels) is on the screen, so that a picture of
    // the screen shows what lies below there. Takes effect with the next display pass. Calls nest.
    void setOutOfSight(const QRect &area, bool outOfSight);

    // Where the layers that were displayed last can show anything, device pixels.
    std::vector<QRect> shownAreas() const;

    // Presents what changed since the last pass, now.
    void display();

private:
    struct Layer {
        const View *view;
        std::uint64_t serial;
        std::uint64_t drawings;
        QRect frame;
        Look look;

        // Where the layer can show anything.
        QRect extent() const { return look.surround != 0 ? frame : look.detail; }
    };

    void screenChanged();
    void scheduleDisplay();
    bool isOutOfSight(const QRect &area) const;
    void collect(View &view, double x, double y);
    void findDamage();
    void addDamage(const QRect &area);
    void composeFrame();
    std::uint64_t pictureIn(const QRect &area) const;
    void addFills(const QRect &damage);
    void paint(const PixelPatch &patch) const;

    OverlaySurface &m_surface;
    MainQueue &m_queue;
    PixelSpace m_space;
    std::shared_ptr<View> m_root;
    std::function<void()> m_screenChanged;
    std::function<void(const PixelPatch &)> m_paint; // Made once: presenting must not allocate.
    bool m_scheduled = false;
    bool m_everything = true; // The window's content is unknown: present all of it.
    std::vector<QRect> m_outOfSight;

    // Kept between passes for their memory.
    std::vector<Layer> m_shown; // What is on the window, bottom to top.
    std::vector<Layer> m_layers;
    std::vector<QRect> m_damage;
    std::vector<QRect> m_pieces;
    std::vector<QRect> m_scratch;
    SurfaceFrame m_frame;

    Lifetime m_lifetime;
};

} // namespace companion
