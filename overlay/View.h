#pragma once

#include "core/Color.h"
#include "core/Geometry.h"
#include "overlay/EffectGeometry.h"
#include "platform/ports/OverlaySurface.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace companion {

// Decoration of a view, in points.
struct ViewLayer {
    Color backgroundColor{0, 0, 0, 0};
    double borderWidth = 0;
    Color borderColor{0, 0, 0, 1};
    double cornerRadius = 0;
    bool masksToBounds = false;
};

// What a view shows, in device pixels: a uniform colour all over its frame, but for one rectangle of detail
// that has to be painted. Most of a view is uniform, so most of the screen never has to be.
struct Look {
    Pixel surround = 0; // 0: nothing.
    QRect detail;
    std::uint64_t picture = 0; // As SurfaceFrame::picture, for the detail with the surround around it.
    bool operator==(const Look &) const = default;
};

// A rectangle of the overlay with subviews on top of it. A view keeps what it drew last, as a layer does:
// drawing happens only when it was marked, painting of any piece at any time. Layers are laid over one
// another, so what a view "copies" replaces within its own layer only.
//
// A view is owned by its superview and by whoever else holds it; a superview is looked at, not owned.
class View {
public:
    explicit View(const PointRect &frame);
    virtual ~View();
    View(const View &) = delete;
    View &operator=(const View &) = delete;

    // In the superview's points.
    const PointRect &frame() const { return m_frame; }
    void setFrame(const PointRect &frame);

    bool isHidden() const { return m_hidden; }
    void setHidden(bool hidden);

    const ViewLayer &layer() const { return m_layer; }
    void setLayer(const ViewLayer &layer);

    // On top of the subviews so far; taken out of an earlier superview.
    void addSubview(std::shared_ptr<View> view);
    void removeFromSuperview();
    View *superview() const { return m_superview; }
    const std::vector<std::shared_ptr<View>> &subviews() const { return m_subviews; }

    // Marks the whole view: it is drawn afresh in the next display pass.
    void setNeedsDisplay();

    // For the root: called whenever something in the tree may look different.
    void onNeedsDisplay(std::function<void()> listener) { m_needsDisplayListener = std::move(listener); }

    // Used by the display pass. Draws if the view was marked since, and says what it shows.
    const Look &display(const PixelSpace &space, const PointRect &frameInRoot);

    // Where the view lay when it was displayed last, device pixels.
    const QRect &pixelFrame() const { return m_pixelFrame; }

    // Paints what was drawn last over the patch.
    virtual void paint(const PixelPatch &patch) const;

    std::uint64_t serial() const { return m_serial; }     // One for each view ever made.
    std::uint64_t drawings() const { return m_drawings; } // Grows with each drawing.

protected:
    // Draws: takes what the picture depends on and keeps it for paint(). The default is the layer's
    // background.
    virtual Look drawRect(const PixelSpace &space, const PointRect &frameInRoot);

    // A number for Look::picture that no view has used.
    static std::uint64_t newPicture();

    const Look &look() const { return m_look; }

private:
    void treeChanged();

    PointRect m_frame;
    ViewLayer m_layer;
    bool m_hidden = false;
    bool m_marked = true;
    View *m_superview = nullptr;
    std::vector<std::shared_ptr<View>> m_subviews;
    std::function<void()> m_needsDisplayListener;
    Look m_look;
    QRect m_pixelFrame;
    std::uint64_t m_serial;
    std::uint64_t m_drawings = 0;
};

} // namespace companion
