#pragma once

#include "core/MainQueue.h"
#include "platform/ports/HotplugWatch.h"

#include <memory>

namespace companion {

// The hidraw nodes that udev tells of. Needs an event loop on the main thread.
std::unique_ptr<HotplugWatch> makeUdevHotplugWatch(MainQueue &queue);

} // namespace companion
