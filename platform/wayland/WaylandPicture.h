#pragma once

#include "platform/wayland/WaylandMemory.h"

#include <QImage>

#include <memory>
#include <optional>

namespace companion {

// How a shared-memory format of Wayland is called by the raster engine; nothing for those that it cannot
// read as they are.
std::optional<QImage::Format> imageFormat(std::uint32_t format);

// The picture keeps the memory for as long as it is held; opaque, as 32 bits for each pixel.
QImage pictureIn(std::unique_ptr<WaylandMemory> memory, std::uint32_t format, bool upsideDown);

} // namespace companion
