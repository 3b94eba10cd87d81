#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace companion {

struct ReceiverNode {
    std::string path;  // "/dev/hidraw3".
    std::string error; // Why we may not open it; empty when we may.
};

// The nodes of a plugged receiver, one for each of its interfaces. Opens each for a moment.
std::vector<ReceiverNode> findReceiverNodes(std::uint16_t vendorId, std::uint16_t productId);

} // namespace companion
