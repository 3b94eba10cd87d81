#pragma once

#include "platform/wayland/WaylandObjects.h"

#include <QSize>

#include <cstddef>
#include <memory>
#include <span>

namespace companion {

// A picture in memory that the compositor sees, too. All zero at first.
class WaylandMemory {
public:
    // Null when the memory cannot be had, or for a size that no screen has. `stride` in bytes.
    static std::unique_ptr<WaylandMemory> make(wl_shm *shm, const QSize &size, int stride,
                                               std::uint32_t format);

    ~WaylandMemory();
    WaylandMemory(const WaylandMemory &) = delete;
    WaylandMemory &operator=(const WaylandMemory &) = delete;

    wl_buffer *buffer() const { return m_buffer.get(); }
    std::byte *data() const { return m_bytes.data(); }
    QSize size() const { return m_size; }
    int stride() const { return m_stride; }

private:
    WaylandMemory(std::span<std::byte> bytes, const QSize &size, int stride)
        : m_bytes(bytes),
          m_size(size),
          m_stride(stride) {}

    std::span<std::byte> m_bytes;
    QSize m_size;
    int m_stride;
    WaylandPtr<wl_buffer> m_buffer;
};

} // namespace companion
