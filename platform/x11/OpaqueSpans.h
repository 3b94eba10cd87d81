#pragma once

#include "platform/ports/OverlaySurface.h"

#include <xcb/xproto.h>

#include <vector>

namespace companion {

// Makes a picture for a display that cannot blend: pixels with at least half of the picture's greatest alpha
// become opaque in their own colour, and their runs are added to `spans` in the overlay's coordinates; the
// others are left out.
void makeOpaque(const PixelPatch &patch, std::vector<xcb_rectangle_t> &spans);

} // namespace companion
