#pragma once

#include "platform/ports/OverlaySurface.h"

#include <xcb/xproto.h>

#include <vector>

namespace companion {

// Adds the runs of a picture's pixels that show anything to `spans`, in the overlay's coordinates.
void addCovered(const PixelPatch &patch, std::vector<xcb_rectangle_t> &spans);

} // namespace companion
