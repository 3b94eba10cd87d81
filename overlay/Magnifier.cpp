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
    const double border = layer().borderWidth * space.scale;
    const bool otherDisc = m_disc.moveTo(lens);
    const bool otherRing = m_inside.moveTo(lens.adjusted(border, border, -border, -border));
    const QRect detail = space.touched(lens);
    m_square = m_disc.isKept() ? lens.toAlignedRect() : detail;
    if (otherDisc || otherRing)
        m_mask.make(m_disc, m_inside, m_square);
    setRing(pixelOf(layer().borderColor, layer().borderColor.alpha));
    Log::format("%f,%f", m_renderPoint.x, m_renderPoint.y);
    return {0, detail};
}

void ZoomView::setRing(Pixel pixel) {
    if (m_ring[255] != pixel)
        for (unsigned coverage = 0; coverage < m_ring.size(); ++coverage)
            m_ring[coverage] = scaled(pixel, coverage);
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

// A row of the picture shows in several rows of the lens: it is enlarged once and copied.
void ZoomView::drawLayerInContext(const PixelPatch &context) const {
    const QRect area = context.area & look().detail;
    const QImage &image = picture();
    const bool magnifies = m_zoom != 0 && !image.isNull();
    const auto zoom = static_cast<double>(magnifies ? m_zoom : 1);
    m_columns.map(area.left(), area.width(), m_centre.x(), m_cursor.x(), zoom, magnifies ? image.width() : 0);
    m_rows.map(area.top(), area.height(), m_centre.y(), m_cursor.y(), zoom, magnifies ? image.height() : 0);
    m_line.resize(m_columns.source.size());
    int enlarged = -1; // Row of the picture that is in m_line.
    for (int y = area.top(); y <= area.bottom(); ++y) {
        const bool shown = y >= m_rows.first && y < m_rows.end() && !m_line.empty();
        if (shown && m_rows.at(y) != enlarged) {
            enlarged = m_rows.at(y);
            const auto *source = reinterpret_cast<const Pixel *>(image.constScanLine(enlarged));
            std::transform(m_columns.source.begin(), m_columns.source.end(), m_line.begin(),
                           [source](int column) { return source[column] | 0xff000000; });
        }
        paintRow(rowOf(context, y), y, area, shown);
    }
}

void ZoomView::paintRow(Pixel *row, int y, const QRect &area, bool magnifies) const {
    const LensMask::Row mask = m_mask.row(y - m_square.top());
    const int left = m_square.left();
    const int first = magnifies ? m_columns.first : 0;
    const int end = magnifies ? m_columns.end() : 0;
    const auto pixelAt = [&](int x) { return m_line[static_cast<std::size_t>(x - first)]; };
    const int from = std::max(left + mask.from, first);
    const int to = std::min(left + mask.to, end);
    if (to > from)
        std::copy_n(m_line.begin() + (from - first), to - from, row + from);
    for (const LensMask::RimPixel &rim : mask.rim) {
        const int x = left + rim.x;
        if (x < area.left() || x > area.right())
            continue;
        const Pixel ring = m_ring[rim.ring];
        Pixel below = 0;
        if (alphaOf(ring) < 255)
            below = x >= first && x < end ? over(scaled(pixelAt(x), rim.disc), row[x]) : row[x];
        row[x] = over(ring, below);
    }
}

} // namespace companion
