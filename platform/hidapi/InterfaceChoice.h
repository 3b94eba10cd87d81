#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace companion {

// One USB interface of a plugged receiver. A receiver may show several: often a keyboard first, and the one
// that answers the event report after it.
struct HidInterface {
    std::string path;
    // It has a vendor-defined usage, or none that could be read. The others are keyboards, mice and the like.
    bool vendorDefined = false;
};

// The library lists an interface once for each of its usages.
struct HidUsage {
    std::string path;
    std::uint16_t usagePage = 0; // 0: unknown.
};

// Each interface once, the likeliest first, otherwise in the order given.
std::vector<HidInterface> likeliestFirst(const std::vector<HidUsage> &usages);

// The index of the interface to use, or -1 for none at present. `answers` opens an interface, keeps it when
// it answers the event report, and is called for one at a time until one does.
//
// A lone vendor-defined interface is taken unasked, silent or not. Everything else must answer: the
// interfaces of a receiver just plugged appear, and get their access rights, one by one, and a link on the
// wrong one would stay there until the receiver is pulled.
int chooseInterface(const std::vector<HidInterface> &interfaces,
                    const std::function<bool(const HidInterface &, bool mustAnswer)> &answers);

// Whether the kernel's name for a HID device, "0003:1209:0001.0004", or a path through it, belongs to the
// identifiers.
bool isDeviceNameOf(std::string_view name, std::uint16_t vendorId, std::uint16_t productId);

} // namespace companion
