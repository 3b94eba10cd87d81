#include "overlay/EffectViews.h"

#include "overlay/Pixels.h"
#include "settings/ConfigManager.h"

#include <utility>

namespace companion {
namespace {

PointRect inRoot(const PointRect &rect, const PointRect &frameInRoot) {
    return {rect.x + frameInRoot.x, rect.y + frameInRoot.y, rect.width, rect.height};
}

// A disc that the screen's edge cuts is another picture each time.
Look lookOf(Pixel surround, const PixelSpace &space, const QRectF &disc, std::uint64_t picture) {
    const QRect detail = space.touched(disc);
    return {surround, detail, QRectF(detail).contains(disc) ? picture : 0};
}

} // namespace

SpotlightView::SpotlightView(const PointRect &frame, const ConfigManager &config)
    : View(frame),
      m_config(config) {}

Look SpotlightView::drawRect(const PixelSpace &space, const PointRect &frameInRoot) {
    // The colour's own alpha never counts.
    const Pixel dim = pixelOf(m_config.backColor(), m_config.backAlpha());
    if (dim == 0)
        return {};
    const QRectF hole = space.toPixels(inRoot(m_spotlightRect, frameInRoot));
    if (m_hole.moveTo(hole) || dim != look().surround)
        m_picture = newPicture();
    return lookOf(dim, space, hole, m_picture);
}

void SpotlightView::paint(const PixelPatch &patch) const {
    const QRect area = patch.area & pixelFrame();
    const Pixel dim = look().surround;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        Pixel *row = rowOf(patch, y);
        const int end = area.right() + 1;
        const Disc::Row hole = m_hole.row(y, area.left(), end);
        fillOver(patch, row, area.left(), hole.rimLeft, dim);
        for (int x = hole.rimLeft; x < hole.inside; ++x)
            row[x] = over(scaled(dim, 255 - m_hole.coverage(x, y)), row[x]);
        for (int x = hole.rimRight; x < hole.end; ++x)
            row[x] = over(scaled(dim, 255 - m_hole.coverage(x, y)), row[x]);
        fillOver(patch, row, hole.end, end, dim);
    }
}

LaserView::LaserView(const PointRect &frame, const ConfigManager &config) : View(frame), m_config(config) {}

Look LaserView::drawRect(const PixelSpace &space, const PointRect &frameInRoot) {
    const Pixel before = std::exchange(m_pixel, pixelOf(m_config.frontColor(), m_config.frontAlpha()));
    if (m_pixel == 0)
        return {};
    const QRectF dot = space.toPixels(inRoot(m_laserRect, frameInRoot));
    if (m_dot.moveTo(dot) || m_pixel != before)
        m_picture = newPicture();
    return lookOf(0, space, dot, m_picture);
}

void LaserView::paint(const PixelPatch &patch) const {
    const QRect area = patch.area & look().detail;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        Pixel *row = rowOf(patch, y);
        const Disc::Row dot = m_dot.row(y, area.left(), area.right() + 1);
        for (int x = dot.rimLeft; x < dot.inside; ++x)
            row[x] = over(scaled(m_pixel, m_dot.coverage(x, y)), row[x]);
        fillOver(patch, row, dot.inside, dot.rimRight, m_pixel);
        for (int x = dot.rimRight; x < dot.end; ++x)
            row[x] = over(scaled(m_pixel, m_dot.coverage(x, y)), row[x]);
    }
}

} // namespace companion
