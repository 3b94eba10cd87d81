#include "overlay/Magnifier.h"

#include "core/Log.h"
#include "overlay/Pixels.h"
#include "settings/ConfigManager.h"

#include <algorithm>
#include <cmath>

namespace companion {
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
    m_disc.moveTo(lens);
    const double border = layer().borderWidth * space.scale;
    m_inside.moveTo(lens.adjusted(border, border, -border, -border));
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

// What lies outside of the picture is left out; the rest is one run.
void ZoomView::Axis::map(int from, int count, double centre, double cursor, double zoom, int limit) {
    source.clear();
    for (int place = from; place < from + count; ++place) {
        const double index = std::floor(cursor + (place + 0.5 - centre) / zoom);
        if (!(index >= 0 && index < limit))
            continue;
        if (source.empty())
            first = place;
        source.push_back(static_cast<int>(index));
    }
}

void ZoomView::drawLayerInContext(const PixelPatch &context) const {
    const QRect area = context.area & look().detail;
    paintPicture(context, area);
    for (int y = area.top(); y <= area.bottom(); ++y)
        paintRing(rowOf(context, y), y, area);
}

// A row of the picture shows in several rows of the lens: it is enlarged once and copied.
void ZoomView::paintPicture(const PixelPatch &patch, const QRect &area) const {
    const QImage &image = picture();
    if (m_zoom == 0 || image.isNull())
        return;
    const auto zoom = static_cast<double>(m_zoom);
    m_columns.map(area.left(), area.width(), m_centre.x(), m_cursor.x(), zoom, image.width());
    m_rows.map(area.top(), area.height(), m_centre.y(), m_cursor.y(), zoom, image.height());
    if (m_columns.source.empty())
        return;
    m_line.resize(m_columns.source.size());
    const auto pixelAt = [this](int x) { return m_line[static_cast<std::size_t>(x - m_columns.first)]; };
    int enlarged = -1; // Row of the picture that is in m_line.
    for (int y = m_rows.first; y < m_rows.end(); ++y) {
        if (m_rows.at(y) != enlarged) {
            enlarged = m_rows.at(y);
            const auto *source = reinterpret_cast<const Pixel *>(image.constScanLine(enlarged));
            std::transform(m_columns.source.begin(), m_columns.source.end(), m_line.begin(),
                           [source](int column) { return source[column] | 0xff000000; });
        }
        Pixel *row = rowOf(patch, y);
        const Disc::Row disc = m_disc.row(y, m_columns.first, m_columns.end());
        const auto paintRim = [&](int from, int to) {
            for (int x = from; x < to; ++x)
                row[x] = over(scaled(pixelAt(x), m_disc.coverage(x, y)), row[x]);
        };
        paintRim(disc.rimLeft, disc.inside);
        std::copy_n(m_line.begin() + (disc.inside - m_columns.first), disc.rimRight - disc.inside,
                    row + disc.inside);
        paintRim(disc.rimRight, disc.end);
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
