#include "platform/wayland/WaylandPicture.h"

#include <utility>

namespace companion {

std::optional<QImage::Format> imageFormat(std::uint32_t format) {
    switch (format) {
    case WL_SHM_FORMAT_XRGB8888:
    case WL_SHM_FORMAT_ARGB8888: // A screen has nothing below it to shine through.
        return QImage::Format_RGB32;
    case WL_SHM_FORMAT_XBGR8888:
    case WL_SHM_FORMAT_ABGR8888:
        return QImage::Format_RGBX8888;
    case WL_SHM_FORMAT_XRGB2101010:
    case WL_SHM_FORMAT_ARGB2101010:
        return QImage::Format_RGB30;
    case WL_SHM_FORMAT_XBGR2101010:
    case WL_SHM_FORMAT_ABGR2101010:
        return QImage::Format_BGR30;
    default:
        return std::nullopt;
    }
}

QImage pictureIn(std::unique_ptr<WaylandMemory> memory, std::uint32_t format, bool upsideDown) {
    const auto known = imageFormat(format);
    if (!memory || !known)
        return {};
    const QSize size = memory->size();
    const auto *data = reinterpret_cast<const uchar *>(memory->data());
    const int stride = memory->stride();
    const QImage picture(
        data, size.width(), size.height(), stride, *known,
        [](void *held) { const std::unique_ptr<WaylandMemory> gone(static_cast<WaylandMemory *>(held)); },
        memory.release());
    const QImage standing = upsideDown ? picture.mirrored() : picture;
    return standing.format() == QImage::Format_RGB32 ? standing
                                                     : standing.convertToFormat(QImage::Format_RGB32);
}

} // namespace companion
