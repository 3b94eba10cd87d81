#include "overlay/View.h"

#include "overlay/Pixels.h"

#include <algorithm>

namespace companion {
namespace {

std::uint64_t nextSerial() {
    static std::uint64_t last = 0; // Views live on the main thread.
    return ++last;
}

} // namespace

View::View(const PointRect &frame) : m_frame(frame), m_serial(nextSerial()) {}

View::~View() {
    for (const auto &view : m_subviews)
        view->m_superview = nullptr;
}

void View::setFrame(const PointRect &frame) {
    if (frame == m_frame)
        return;
    m_frame = frame;
    setNeedsDisplay();
}

void View::setHidden(bool hidden) {
    if (hidden == m_hidden)
        return;
    m_hidden = hidden;
    treeChanged();
}

void View::setLayer(const ViewLayer &layer) {
    m_layer = layer;
    setNeedsDisplay();
}

void View::addSubview(std::shared_ptr<View> view) {
    view->removeFromSuperview();
    view->m_superview = this;
    m_subviews.push_back(std::move(view));
    treeChanged();
}

void View::removeFromSuperview() {
    if (m_superview == nullptr)
        return;
    View &parent = *std::exchange(m_superview, nullptr);
    const auto self = std::find_if(parent.m_subviews.begin(), parent.m_subviews.end(),
                                   [this](const auto &view) { return view.get() == this; });
    const auto keepAlive = *self; // The superview may hold the last reference.
    parent.m_subviews.erase(self);
    parent.treeChanged();
}

void View::setNeedsDisplay() {
    m_marked = true;
    treeChanged();
}

void View::treeChanged() {
    View *root = this;
    while (root->m_superview != nullptr)
        root = root->m_superview;
    if (root->m_needsDisplayListener)
        root->m_needsDisplayListener();
}

const Look &View::display(const PixelSpace &space, const PointRect &frameInRoot) {
    const QRect pixelFrame = space.snapped(frameInRoot);
    if (m_marked || pixelFrame != m_pixelFrame) {
        m_marked = false;
        m_pixelFrame = pixelFrame;
        m_look = drawRect(space, frameInRoot);
        if (!m_pixelFrame.contains(m_look.detail)) {
            m_look.detail &= m_pixelFrame;
            m_look.picture = 0; // Only a part of it.
        }
        ++m_drawings;
    }
    return m_look;
}

std::uint64_t View::newPicture() {
    static std::uint64_t last = 0;
    return ++last;
}

Look View::drawRect(const PixelSpace &, const PointRect &) {
    return {pixelOf(m_layer.backgroundColor, m_layer.backgroundColor.alpha), {}};
}

void View::paint(const PixelPatch &patch) const {
    if (m_look.surround != 0)
        fillOver(patch, m_pixelFrame, m_look.surround);
}

} // namespace companion
