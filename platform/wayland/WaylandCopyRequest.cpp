#include "platform/wayland/WaylandCopyRequest.h"

#include <utility>

namespace companion {

WaylandCopyRequest::WaylandCopyRequest(wl_shm *shm, zwlr_screencopy_manager_v1 *copies, wl_output *output,
                                       WaylandCapture::Done done)
    : m_shm(shm),
      m_done(std::move(done)),
      m_frame(zwlr_screencopy_manager_v1_capture_output(copies, 0, output)) {
    using Frame = zwlr_screencopy_frame_v1;
    static constexpr zwlr_screencopy_frame_v1_listener kListener{
        .buffer =
            [](void *self, Frame *, std::uint32_t format, std::uint32_t width, std::uint32_t height,
               std::uint32_t stride) {
                static_cast<WaylandCopyRequest *>(self)->copyTo(
                    format, QSize(static_cast<int>(width), static_cast<int>(height)), stride);
            },
        .flags =
            [](void *self, Frame *, std::uint32_t flags) {
                static_cast<WaylandCopyRequest *>(self)->m_upsideDown =
                    (flags & ZWLR_SCREENCOPY_FRAME_V1_FLAGS_Y_INVERT) != 0;
            },
        .ready = [](void *self, Frame *, std::uint32_t, std::uint32_t,
                    std::uint32_t) { static_cast<WaylandCopyRequest *>(self)->finish(true); },
        .failed = [](void *self, Frame *) { static_cast<WaylandCopyRequest *>(self)->finish(false); },
        .damage = [](void *, Frame *, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) {},
        .linux_dmabuf = [](void *, Frame *, std::uint32_t, std::uint32_t, std::uint32_t) {},
        .buffer_done = [](void *, Frame *) {}};
    zwlr_screencopy_frame_v1_add_listener(m_frame.get(), &kListener, this);
}

void WaylandCopyRequest::copyTo(std::uint32_t format, const QSize &size, std::uint32_t stride) {
    if (m_memory) // A second offer.
        return;
    if (imageFormat(format) && stride <= INT32_MAX)
        m_memory = WaylandMemory::make(m_shm, size, static_cast<int>(stride), format);
    m_format = format;
    if (m_memory)
        zwlr_screencopy_frame_v1_copy(m_frame.get(), m_memory->buffer());
    else
        finish(false);
}

void WaylandCopyRequest::finish(bool good) {
    if (const auto done = std::exchange(m_done, {}))
        done(good ? pictureIn(std::move(m_memory), m_format, m_upsideDown) : QImage());
}

} // namespace companion
