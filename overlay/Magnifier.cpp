#include "overlay/Magnifier.h"

#include "core/Log.h"
#include "overlay/Pixels.h"
#include "settings/ConfigManager.h"

#include <cmath>

namespace companion {
namespace {

// Column or row of the picture that shows at overlay column or row `pixel`; -1 outside of the picture.
int sourceIndex(int pixel, double centre, double cursor, double zoom, int count) {
    const double source = std::floor(cursor + (pixel + 0.5 - centre) / zoom);
    return source >= 0 && source < count ? static_cast<int>(source) : -1;
}

} // namespace

ZoomView::ZoomView(const PointRect &frame, const ConfigManager &config) : View(frame), m_config(config) {}

void ZoomView::setRenderPoint(Point point) {
    m_renderPoint = point;
    setNeedsDisplay();
}

Look ZoomView::drawRect(const PixelSpace &space, const PointRect &frameInRoot) {
    m_zoom = m_config.mouseZoomValue() / 10; // Only whole magnifications exist.
    const double half = effectHalf(m_config.mouseSizeValue());
    m_cursor = space.toPixels(Point{m_renderPoint.x + half, m_renderPoint.y + half});
    const QRectF lens = space.toPixels(frameInRoot);
    m_centre = lens.center();
    m_disc = Disc(lens);
    const double border = layer().borderWidth * space.scale;
    m_inside = Disc(lens.adjusted(border, border, -border, -border));
    m_ring = pixelOf(layer().borderColor, layer().borderColor.alpha);
    Log::format("%f,%f", m_renderPoint.x, m_renderPoint.y);
    return {0, space.touched(lens)};
}

const QImage &ZoomView::picture() const {
    static const QImage none;
    if (m_renderView && !m_renderView->subviews().empty()) {
        if (const auto *view = dynamic_cast<const ImageView *>(m_renderView->subviews().front().get()))
            return view->image();
    }
    return none;
}

void ZoomView::drawLayerInContext(const PixelPatch &context) const {
    const QRect area = context.area & look().detail;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        Pixel *row = rowOf(context, y);
        paintPicture(row, y, area);
        paintRing(row, y, area);
    }
}

void ZoomView::paintPicture(Pixel *row, int y, const QRect &area) const {
    const QImage &image = picture();
    if (m_zoom == 0 || image.isNull())
        return;
    const auto zoom = static_cast<double>(m_zoom);
    const int sourceY = sourceIndex(y, m_centre.y(), m_cursor.y(), zoom, image.height());
    if (sourceY < 0)
        return;
    const auto *source = reinterpret_cast<const Pixel *>(image.constScanLine(sourceY));
    const Disc::Row disc = m_disc.row(y, area.left(), area.right() + 1);
    for (int x = disc.rimLeft; x < disc.end; ++x) {
        const int sourceX = sourceIndex(x, m_centre.x(), m_cursor.x(), zoom, image.width());
        if (sourceX < 0)
            continue;
        const Pixel pixel = source[sourceX] | 0xff000000;
        const bool rim = x < disc.inside || x >= disc.rimRight;
        row[x] = rim ? over(scaled(pixel, m_disc.coverage(x, y)), row[x]) : pixel;
    }
}

// The ring lies over the picture, between the lens's edge and the disc within it.
void ZoomView::paintRing(Pixel *row, int y, const QRect &area) const {
    const Disc::Row outer = m_disc.row(y, area.left(), area.right() + 1);
    const Disc::Row inner = m_inside.row(y, area.left(), area.right() + 1);
    const auto paintRun = [&](int from, int to) {
        for (int x = from; x < to; ++x) {
            const unsigned coverage =
                m_disc.coverage(x, y) - std::min(m_disc.coverage(x, y), m_inside.coverage(x, y));
            row[x] = over(scaled(m_ring, coverage), row[x]);
        }
    };
    paintRun(outer.rimLeft, std::min(inner.inside, outer.end));
    paintRun(std::max(inner.rimRight, std::min(inner.inside, outer.end)), outer.end);
}

} // namespace companion
