#pragma once

#include "platform/wayland/WaylandCapture.h"
#include "platform/wayland/WaylandPicture.h"

namespace companion {

// One picture by the newer protocol. Tells once; null means refused.
class WaylandSessionRequest final : public WaylandCapture::Request {
public:
    WaylandSessionRequest(wl_shm *shm, ext_image_copy_capture_manager_v1 *sessions,
                          ext_output_image_capture_source_manager_v1 *sources, wl_output *output,
                          WaylandCapture::Done done);

private:
    void capture();
    void finish(bool good);

    wl_shm *m_shm;
    WaylandCapture::Done m_done;
    WaylandPtr<ext_image_capture_source_v1> m_source;
    WaylandPtr<ext_image_copy_capture_session_v1> m_session;
    WaylandPtr<ext_image_copy_capture_frame_v1> m_frame;
    QSize m_size;
    std::optional<std::uint32_t> m_format; // The first that can be read.
    std::unique_ptr<WaylandMemory> m_memory;
};

} // namespace companion
