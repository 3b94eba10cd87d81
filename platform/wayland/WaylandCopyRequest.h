#pragma once

#include "platform/wayland/WaylandCapture.h"
#include "platform/wayland/WaylandPicture.h"

namespace companion {

// One picture by the older protocol. Tells once; null means refused.
class WaylandCopyRequest final : public WaylandCapture::Request {
public:
    WaylandCopyRequest(wl_shm *shm, zwlr_screencopy_manager_v1 *copies, wl_output *output,
                       WaylandCapture::Done done);

private:
    void copyTo(std::uint32_t format, const QSize &size, std::uint32_t stride);
    void finish(bool good);

    wl_shm *m_shm;
    WaylandCapture::Done m_done;
    WaylandPtr<zwlr_screencopy_frame_v1> m_frame;
    std::unique_ptr<WaylandMemory> m_memory;
    std::uint32_t m_format = 0;
    bool m_upsideDown = false;
};

} // namespace companion
