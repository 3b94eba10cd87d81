#pragma once

#include <QImage>
#include <QSize>

#include <cstddef>
#include <cstdint>

struct wl_buffer;
struct wl_display;
struct wl_output;
struct wl_shm;
struct zwlr_screencopy_manager_v1;

namespace companion::rig {

// Memory that the compositor sees, too. Zeroes at first; the stride is in bytes, the format Wayland's.
struct SharedPicture {
    SharedPicture(wl_shm &shm, const QSize &size, int stride, std::uint32_t format);
    ~SharedPicture();
    SharedPicture(const SharedPicture &) = delete;
    SharedPicture &operator=(const SharedPicture &) = delete;

    std::size_t bytes;
    void *data;
    wl_buffer *buffer;
};

// What an output shows, in its device pixels. Throws when the compositor refuses.
QImage screenCopy(wl_display &display, zwlr_screencopy_manager_v1 &copies, wl_output &output, wl_shm &shm,
                  bool withCursor);

} // namespace companion::rig
