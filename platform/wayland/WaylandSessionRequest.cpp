#include "platform/wayland/WaylandSessionRequest.h"

#include <utility>

namespace companion {

WaylandSessionRequest::WaylandSessionRequest(wl_shm *shm, ext_image_copy_capture_manager_v1 *sessions,
                                             ext_output_image_capture_source_manager_v1 *sources,
                                             wl_output *output, WaylandCapture::Done done)
    : m_shm(shm),
      m_done(std::move(done)),
      m_source(ext_output_image_capture_source_manager_v1_create_source(sources, output)),
      m_session(ext_image_copy_capture_manager_v1_create_session(sessions, m_source.get(), 0)) {
    using Session = ext_image_copy_capture_session_v1;
    static constexpr ext_image_copy_capture_session_v1_listener kListener{
        .buffer_size =
            [](void *self, Session *, std::uint32_t width, std::uint32_t height) {
                static_cast<WaylandSessionRequest *>(self)->m_size =
                    QSize(static_cast<int>(width), static_cast<int>(height));
            },
        .shm_format =
            [](void *data, Session *, std::uint32_t format) {
                auto &self = *static_cast<WaylandSessionRequest *>(data);
                if (!self.m_format && imageFormat(format))
                    self.m_format = format;
            },
        .dmabuf_device = [](void *, Session *, wl_array *) {},
        .dmabuf_format = [](void *, Session *, std::uint32_t, wl_array *) {},
        .done = [](void *self, Session *) { static_cast<WaylandSessionRequest *>(self)->capture(); },
        .stopped = [](void *self, Session *) { static_cast<WaylandSessionRequest *>(self)->finish(false); }};
    ext_image_copy_capture_session_v1_add_listener(m_session.get(), &kListener, this);
}

void WaylandSessionRequest::capture() {
    using Frame = ext_image_copy_capture_frame_v1;
    static constexpr ext_image_copy_capture_frame_v1_listener kListener{
        .transform = [](void *, Frame *, std::uint32_t) {},
        .damage = [](void *, Frame *, std::int32_t, std::int32_t, std::int32_t, std::int32_t) {},
        .presentation_time = [](void *, Frame *, std::uint32_t, std::uint32_t, std::uint32_t) {},
        .ready = [](void *self, Frame *) { static_cast<WaylandSessionRequest *>(self)->finish(true); },
        .failed = [](void *self, Frame *,
                     std::uint32_t) { static_cast<WaylandSessionRequest *>(self)->finish(false); }};
    if (m_frame) // The constraints have changed meanwhile; the frame fails if it has to.
        return;
    constexpr int kBytesPerPixel = 4;
    if (m_format)
        m_memory = WaylandMemory::make(m_shm, m_size, m_size.width() * kBytesPerPixel, *m_format);
    if (!m_memory)
        return finish(false);
    m_frame.reset(ext_image_copy_capture_session_v1_create_frame(m_session.get()));
    ext_image_copy_capture_frame_v1_add_listener(m_frame.get(), &kListener, this);
    ext_image_copy_capture_frame_v1_attach_buffer(m_frame.get(), m_memory->buffer());
    ext_image_copy_capture_frame_v1_damage_buffer(m_frame.get(), 0, 0, m_size.width(), m_size.height());
    ext_image_copy_capture_frame_v1_capture(m_frame.get());
}

void WaylandSessionRequest::finish(bool good) {
    if (const auto done = std::exchange(m_done, {}))
        done(good ? pictureIn(std::move(m_memory), *m_format, false) : QImage());
}

} // namespace companion
