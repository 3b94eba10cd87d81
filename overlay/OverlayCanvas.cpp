#include "overlay/OverlayCanvas.h"

#include "overlay/Pixels.h"
#include "overlay/RectPieces.h"

#include <algorithm>

using namespace std::chrono_literals;

namespace companion {

OverlayCanvas::OverlayCanvas(OverlaySurface &surface, MainQueue &queue)
    : m_surface(surface),
      m_queue(queue),
      m_root(std::make_shared<View>(PointRect{})),
      m_paint([this](const PixelPatch &patch) { paint(patch); }) {
    m_root->onNeedsDisplay([this] { scheduleDisplay(); });
    m_surface.onChanged(m_lifetime.guard([this] { screenChanged(); }));
    screenChanged();
}

void OverlayCanvas::setOutOfSight(const QRect &area, bool outOfSight) {
    if (outOfSight)
        m_outOfSight.push_back(area);
    else if (const auto one = std::find(m_outOfSight.begin(), m_outOfSight.end(), area);
             one != m_outOfSight.end())
        m_outOfSight.erase(one);
    scheduleDisplay();
}

bool OverlayCanvas::isOutOfSight(const QRect &area) const {
    return std::any_of(m_outOfSight.begin(), m_outOfSight.end(),
                       [&](const QRect &each) { return each.intersects(area); });
}

std::vector<QRect> OverlayCanvas::shownAreas() const {
    std::vector<QRect> areas;
    for (const Layer &layer : m_shown)
        areas.push_back(layer.extent());
    return areas;
}

void OverlayCanvas::screenChanged() {
    m_everything = true;
    m_space = {m_surface.size(), m_surface.scale()};
    m_root->setFrame({0, 0, m_space.size.width, m_space.size.height});
    if (m_screenChanged)
        m_screenChanged();
    scheduleDisplay();
}

void OverlayCanvas::scheduleDisplay() {
    if (m_scheduled)
        return;
    m_scheduled = true;
    m_queue.post(0ms, m_lifetime.guard([this] { display(); }));
}

void OverlayCanvas::display() {
    m_scheduled = false;
    m_layers.clear();
    collect(*m_root, 0, 0);
    findDamage();
    m_shown.swap(m_layers);
    m_everything = false;
    if (m_damage.empty())
        return;
    composeFrame();
    m_surface.present(m_frame, m_paint);
}

void OverlayCanvas::collect(View &view, double x, double y) {
    if (view.isHidden())
        return;
    const PointRect frame{x + view.frame().x, y + view.frame().y, view.frame().width, view.frame().height};
    const Look &look = view.display(m_space, frame);
    const Layer layer{&view, view.serial(), view.drawings(), view.pixelFrame(), look};
    if (!layer.extent().isEmpty() && !isOutOfSight(layer.extent()))
        m_layers.push_back(layer);
    for (const auto &subview : view.subviews())
        collect(*subview, frame.x, frame.y);
}

void OverlayCanvas::findDamage() {
    m_damage.clear();
    if (m_everything)
        addDamage(m_space.bounds());
    const auto find = [](const std::vector<Layer> &layers, std::uint64_t serial) {
        return std::find_if(layers.begin(), layers.end(), [&](const Layer &l) { return l.serial == serial; });
    };
    for (const Layer &now : m_layers) {
        const auto before = find(m_shown, now.serial);
        if (before == m_shown.end()) {
            addDamage(now.extent());
        } else if (now.frame != before->frame || now.look.surround != before->look.surround) {
            addDamage(now.extent());
            addDamage(before->extent());
        } else if (now.drawings != before->drawings) {
            addDamage(now.look.detail);
            addDamage(before->look.detail);
        }
    }
    for (const Layer &before : m_shown) {
        if (find(m_layers, before.serial) == m_layers.end())
            addDamage(before.extent());
    }
}

void OverlayCanvas::addDamage(const QRect &area) {
    const QRect visible = area & m_space.bounds();
    if (!visible.isEmpty())
        m_damage.push_back(visible);
}

// The newest details come first in the damage, so a disc that moved a little is one whole patch, and of its
// old place only the rest is filled.
void OverlayCanvas::composeFrame() {
    m_frame.fills.clear();
    m_frame.patches.clear();
    m_frame.occupied.clear();
    for (const QRect &damage : m_damage) {
        for (const Layer &layer : m_shown)
            addDisjoint(m_frame.patches, layer.look.detail & damage, m_scratch);
    }
    m_frame.picture = m_frame.patches.empty() ? 0 : pictureIn(m_frame.patches.front());
    for (const QRect &damage : m_damage)
        addFills(damage);
    for (const Layer &layer : m_shown)
        m_frame.occupied.push_back(layer.extent());
}

// The picture of the one layer that has anything to show there, if it shows the whole picture.
std::uint64_t OverlayCanvas::pictureIn(const QRect &area) const {
    std::uint64_t picture = 0;
    for (const Layer &layer : m_shown) {
        if (!layer.extent().intersects(area))
            continue;
        if (picture != 0 || layer.look.detail != area)
            return 0;
        picture = layer.look.picture;
        if (picture == 0)
            return 0;
    }
    return picture;
}

// Fills what no patch covers with the colours of the surrounds that lie there, one over the other.
void OverlayCanvas::addFills(const QRect &damage) {
    m_pieces.assign(1, damage);
    for (const QRect &patch : m_frame.patches)
        subtract(m_pieces, patch);
    for (const auto &fill : m_frame.fills)
        subtract(m_pieces, fill.area);
    const std::size_t first = m_frame.fills.size();
    for (const QRect &piece : m_pieces)
        m_frame.fills.push_back({piece, 0});
    for (const Layer &layer : m_shown) {
        if (layer.look.surround == 0)
            continue;
        for (std::size_t i = first, end = m_frame.fills.size(); i < end; ++i) {
            const auto fill = m_frame.fills[i];
            const QRect inside = fill.area & layer.frame;
            if (inside.isEmpty())
                continue;
            m_frame.fills[i] = {inside, over(layer.look.surround, fill.pixel)};
            m_scratch.assign(1, fill.area);
            subtract(m_scratch, inside);
            for (const QRect &outside : m_scratch)
                m_frame.fills.push_back({outside, fill.pixel});
        }
    }
}

void OverlayCanvas::paint(const PixelPatch &patch) const {
    PixelPatch target = patch;
    for (const Layer &layer : m_shown) {
        if (!layer.extent().intersects(patch.area))
            continue;
        layer.view->paint(target);
        target.blank = false;
    }
}

} // namespace companion
