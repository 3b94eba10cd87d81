#include "platform/wayland/WaylandBuffers.h"

#include "core/Log.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace companion {
namespace {

constexpr int kBytesPerPixel = 4;
constexpr int kMostPieces = 64; // Of a region, before its bounds do.

void addTo(QRegion &region, const QRect &area) {
    region += area;
    if (region.rectCount() > kMostPieces)
        region = region.boundingRect();
}

} // namespace

void WaylandBuffers::setSize(const QSize &size) {
    drop();
    m_size = size;
}

void WaylandBuffers::drop() {
    for (Buffer &buffer : m_buffers)
        buffer = {};
    m_newest = m_draft = nullptr;
    m_damage = {};
    m_failed = false;
    m_picture = 0;
    m_pictureMemory = {};
}

bool WaylandBuffers::begin(const QRegion &anew) {
    if (m_draft != nullptr)
        return true;
    Buffer *buffer = freeBuffer();
    m_failed = buffer == nullptr;
    if (m_failed)
        return false;
    catchUp(*buffer, anew);
    m_draft = m_newest = buffer;
    return true;
}

WaylandBuffers::Buffer *WaylandBuffers::freeBuffer() {
    for (Buffer &each : m_buffers)
        if (each.memory && !each.held)
            return &each;
    for (Buffer &each : m_buffers)
        if (!each.memory)
            return allocate(each) ? &each : nullptr;
    return nullptr;
}

bool WaylandBuffers::allocate(Buffer &buffer) {
    buffer.memory =
        WaylandMemory::make(m_shm, m_size, m_size.width() * kBytesPerPixel, WL_SHM_FORMAT_ARGB8888);
    if (!buffer.memory) {
        if (!m_failed)
            Log::line("no memory for the overlay's picture: it stays as it is");
        return false;
    }
    static constexpr wl_buffer_listener kListener{.release = [](void *self, wl_buffer *) {
        auto &released = *static_cast<Buffer *>(self);
        released.owner->released(released);
    }};
    buffer.owner = this;
    wl_buffer_add_listener(buffer.memory->buffer(), &kListener, &buffer);
    buffer.stale = m_newest != nullptr ? QRect(QPoint(0, 0), m_size) : QRect();
    return true;
}

void WaylandBuffers::released(Buffer &buffer) {
    buffer.held = false;
    if (std::exchange(m_failed, false) && m_roomAgain)
        m_roomAgain();
}

void WaylandBuffers::catchUp(Buffer &buffer, const QRegion &anew) {
    for (const QRect &area : std::exchange(buffer.stale, {}) - anew)
        for (int y = area.top(); y <= area.bottom(); ++y)
            std::memcpy(pixelsAt(buffer, {area.left(), y}), pixelsAt(*m_newest, {area.left(), y}),
                        static_cast<std::size_t>(area.width()) * sizeof(Pixel));
}

Pixel *WaylandBuffers::pixelsAt(const Buffer &buffer, QPoint at) const {
    return reinterpret_cast<Pixel *>(buffer.memory->data()) +
           (static_cast<std::ptrdiff_t>(at.y()) * m_size.width() + at.x());
}

void WaylandBuffers::touch(const QRect &area) {
    addTo(m_damage, area);
    for (Buffer &each : m_buffers)
        if (&each != m_draft && each.memory)
            addTo(each.stale, area);
}

void WaylandBuffers::fill(const SurfaceFrame::Fill &fill) {
    const QRect area = fill.area & QRect(QPoint(0, 0), m_size);
    if (area.isEmpty())
        return;
    for (int y = area.top(); y <= area.bottom(); ++y)
        std::fill_n(pixelsAt(*m_draft, {area.left(), y}), area.width(), fill.pixel);
    touch(area);
}

void WaylandBuffers::paint(const QRect &area, const std::function<void(const PixelPatch &)> &paint) {
    if (area.isEmpty())
        return;
    fill({area, 0});
    paint({area, pixelsAt(*m_draft, area.topLeft()), m_size.width()});
}

void WaylandBuffers::paintPicture(std::uint64_t picture, const QRect &area,
                                  const std::function<void(const PixelPatch &)> &paint) {
    const auto width = static_cast<std::size_t>(area.width());
    if (m_picture != picture || m_pictureSize != area.size()) {
        m_pictureMemory.assign(width * static_cast<std::size_t>(area.height()), 0);
        paint({area, m_pictureMemory.data(), area.width()});
        m_picture = picture;
        m_pictureSize = area.size();
    }
    const Pixel *row = m_pictureMemory.data();
    for (int y = area.top(); y <= area.bottom(); ++y, row += width)
        std::copy_n(row, width, pixelsAt(*m_draft, {area.left(), y}));
    touch(area);
}

void WaylandBuffers::attach(wl_surface *surface, bool everything) {
    wl_surface_attach(surface, m_draft->memory->buffer(), 0, 0);
    if (everything)
        m_damage = QRect(QPoint(0, 0), m_size);
    for (const QRect &area : std::exchange(m_damage, {}))
        wl_surface_damage_buffer(surface, area.x(), area.y(), area.width(), area.height());
    m_draft->held = true;
    m_draft = nullptr;
}

} // namespace companion
