#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace companion {

// USB identity of the receiver.
struct ReceiverIdentity {
    std::uint16_t vendorId = 0; // 0 is no vendor.
    std::uint16_t productId = 0;
    bool operator==(const ReceiverIdentity &) const = default;
};

// What this build is for.
ReceiverIdentity builtInReceiverIdentity();

// Of the device that DeviceManager looks for; never the receiver.
ReceiverIdentity builtInMonitoredIdentity();

// "VVVV:PPPP", one to four hex digits each. Nothing, and a text that quotes the offender, when malformed.
std::optional<ReceiverIdentity> parseReceiverIdentity(std::string_view text, std::string &error);

} // namespace companion
