#pragma once

#include "overlay/Disc.h"
#include "overlay/LensMask.h"
#include "overlay/View.h"

#include <QImage>

#include <array>

namespace companion {

class ConfigManager;

// Holds a picture whose pixels lie on the overlay's device pixels one to one. Always in a holder that lies
// out of sight, so it never paints; the lens looks at its picture.
class ImageView final : public View {
public:
    using View::View;

    const QImage &image() const { return m_image; } // Null: none.
    void setImage(const QImage &image) {
        m_image = image.depth() == 32 ? image : image.convertToFormat(QImage::Format_RGB32);
    }

    void paint(const PixelPatch &) const override {}

private:
    QImage m_image;
};

// The magnifier's lens: a disc with a white ring that shows the picture under the cursor enlarged by a whole
// factor. A point p of the picture is drawn at lens centre + z * (p - cursor).
class ZoomView final : public View {
public:
    ZoomView(const PointRect &frame, const ConfigManager &config);

    // The view whose picture is shown: the holder of an ImageView. May be null.
    const std::shared_ptr<View> &renderView() const { return m_renderView; }
    void setRenderView(std::shared_ptr<View> view) { m_renderView = std::move(view); }

    // Origin of the effect rect, overlay points. Set the frame first: this asks for the redraw.
    Point renderPoint() const { return m_renderPoint; }
    void setRenderPoint(Point point);

    // Draws the enlarged picture, and the ring over it.
    void drawLayerInContext(const PixelPatch &context) const;
    void paint(const PixelPatch &patch) const override { drawLayerInContext(patch); }

protected:
    Look drawRect(const PixelSpace &space, const PointRect &frameInRoot) override;

private:
    // Which columns or rows of the picture show where, along one axis of the lens.
    struct Axis {
        int first = 0;           // Column or row of the overlay.
        std::vector<int> source; // Of the picture, from `first` on.

        void map(int first, int count, double centre, double cursor, double zoom, int limit);
        int end() const { return first + static_cast<int>(source.size()); }
        int at(int place) const { return source[static_cast<std::size_t>(place - first)]; }
    };

    void setRing(Pixel pixel);
    const QImage &picture() const;
    void paintRow(Pixel *row, int y, const QRect &area, bool magnifies) const;

    const ConfigManager &m_config;
    std::shared_ptr<View> m_renderView;
    Point m_renderPoint;
    std::int64_t m_zoom = 0; // Whole factor; 0 shows nothing inside the ring.
    QPointF m_cursor;        // Device pixels.
    QPointF m_centre;        // Of the lens, device pixels.
    Disc m_disc;
    Disc m_inside;  // Within the ring.
    QRect m_square; // What the mask is of, device pixels. Reaches beyond the screen if the lens does.
    LensMask m_mask;

    // Kept between paintings for their memory.
    mutable Axis m_columns;
    mutable Axis m_rows;
    mutable std::vector<Pixel> m_line;
    std::array<Pixel, 256> m_ring{}; // By coverage.
};

} // namespace companion
