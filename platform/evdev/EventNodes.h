#pragma once

#include "platform/evdev/Udev.h"

#include <cstdint>
#include <string>
#include <vector>

namespace companion {

struct EventNode {
    std::string path;  // "/dev/input/event3".
    std::string error; // Why we may not read it; empty when we may.
};

// The receiver is a keyboard, too: the event nodes of the USB device with these identifiers, whichever of its
// interfaces they belong to. Opens each for a moment.
std::vector<EventNode> findEventNodes(std::uint16_t vendorId, std::uint16_t productId);

// Whether this input device is one of them.
bool isEventNodeOf(udev_device &device, std::uint16_t vendorId, std::uint16_t productId);

// All that are there, readable or not.
std::vector<UdevDevice> eventNodesOf(udev &library, std::uint16_t vendorId, std::uint16_t productId);

} // namespace companion
