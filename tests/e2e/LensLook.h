#pragma once

#include "e2e/Talk.h"

namespace companion::rig {

// Every pixel differs from its neighbours, and none is near white.
QImage noise(const QSize &size, std::uint32_t seed);

// A lens of a size at a pointer, both in pixels: `still` enlarged inside, `behind` around it. The zoom is in
// tenths; only whole magnifications exist. The ring is white.
Look lensLook(QPoint pointer, int size, int zoom, const QImage &still, const QImage &behind,
              int ringWidth = 2);

Look pictureLook(const QImage &picture);

} // namespace companion::rig
