#include "support/rig/ScreenCopy.h"

#include "support/rig/Waiting.h"

#include <sys/mman.h>
#include <unistd.h>

#include <wayland-client.h>
#include <wayland-protocols/wlr-screencopy-unstable-v1.h>

#include <memory>

namespace companion::rig {
namespace {

struct Copy {
    bool offered = false, done = false, refused = false;
    QSize size;
    int stride = 0;
    std::uint32_t format = 0;
};

using Frame = zwlr_screencopy_frame_v1;
constexpr zwlr_screencopy_frame_v1_listener kCopyListener{
    .buffer =
        [](void *data, Frame *, std::uint32_t format, std::uint32_t width, std::uint32_t height,
           std::uint32_t stride) {
            auto &copy = *static_cast<Copy *>(data);
            copy.offered = true;
            copy.format = format;
            copy.size = QSize(static_cast<int>(width), static_cast<int>(height));
            copy.stride = static_cast<int>(stride);
        },
    .flags = [](void *, Frame *, std::uint32_t) {},
    .ready = [](void *copy, Frame *, std::uint32_t, std::uint32_t,
                std::uint32_t) { static_cast<Copy *>(copy)->done = true; },
    .failed = [](void *copy, Frame *) { static_cast<Copy *>(copy)->refused = true; },
    .damage = [](void *, Frame *, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) {},
    .linux_dmabuf = [](void *, Frame *, std::uint32_t, std::uint32_t, std::uint32_t) {},
    .buffer_done = [](void *, Frame *) {}};

} // namespace

SharedPicture::SharedPicture(wl_shm &shm, const QSize &size, int stride, std::uint32_t format)
    : bytes(static_cast<std::size_t>(stride) * static_cast<std::size_t>(size.height())) {
    const int file = memfd_create("picture", MFD_CLOEXEC);
    if (ftruncate(file, static_cast<off_t>(bytes)) != 0)
        throw std::runtime_error("no memory for a picture");
    data = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    wl_shm_pool *pool = wl_shm_create_pool(&shm, file, static_cast<std::int32_t>(bytes));
    buffer = wl_shm_pool_create_buffer(pool, 0, size.width(), size.height(), stride, format);
    wl_shm_pool_destroy(pool);
    close(file);
}

SharedPicture::~SharedPicture() {
    wl_buffer_destroy(buffer);
    munmap(data, bytes);
}

QImage screenCopy(wl_display &display, zwlr_screencopy_manager_v1 &copies, wl_output &output, wl_shm &shm,
                  bool withCursor) {
    Copy copy;
    const std::unique_ptr<Frame, decltype(&zwlr_screencopy_frame_v1_destroy)> frame(
        zwlr_screencopy_manager_v1_capture_output(&copies, withCursor ? 1 : 0, &output),
        zwlr_screencopy_frame_v1_destroy);
    zwlr_screencopy_frame_v1_add_listener(frame.get(), &kCopyListener, &copy);
    const auto await = [&](const bool &wanted) {
        waitUntil("a picture", [&] {
            if (wl_display_roundtrip(&display) < 0 || copy.refused)
                throw std::runtime_error("the compositor gave no picture");
            return wanted;
        });
    };
    await(copy.offered);
    const SharedPicture memory(shm, copy.size, copy.stride, copy.format);
    zwlr_screencopy_frame_v1_copy(frame.get(), memory.buffer);
    await(copy.done);
    return QImage(static_cast<const uchar *>(memory.data), copy.size.width(), copy.size.height(), copy.stride,
                  QImage::Format_RGB32)
        .copy();
}

} // namespace companion::rig
