#pragma once

#include "platform/x11/X11Connection.h"

#include <xcb/shm.h>

#include <cstddef>
#include <memory>

namespace companion {

// Memory that the program and the X server both see. Nothing of it outlives the process, however that ends.
class X11SharedMemory {
public:
    // Null when the server cannot share memory with the program.
    static std::shared_ptr<X11SharedMemory> create(const X11Connection &connection, std::size_t size);

    ~X11SharedMemory();
    X11SharedMemory(const X11SharedMemory &) = delete;
    X11SharedMemory &operator=(const X11SharedMemory &) = delete;

    xcb_shm_seg_t id() const { return m_id; }
    std::byte *data() const { return m_data; }
    std::size_t size() const { return m_size; }

private:
    X11SharedMemory(std::shared_ptr<xcb_connection_t> xcb, xcb_shm_seg_t id, std::byte *data,
                    std::size_t size)
        : m_xcb(std::move(xcb)),
          m_id(id),
          m_data(data),
          m_size(size) {}

    std::shared_ptr<xcb_connection_t> m_xcb; // Pictures in this memory may outlive the platform.
    xcb_shm_seg_t m_id;
    std::byte *m_data;
    std::size_t m_size;
};

} // namespace companion
