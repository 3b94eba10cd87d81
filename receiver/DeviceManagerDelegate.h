#pragma once

#include <cstdint>

namespace companion {

// Hears what happens to the monitored device. Every operation is optional.
class DeviceManagerDelegate {
public:
    virtual ~DeviceManagerDelegate() = default;

    virtual void usbhidDidMatch() {} // It was plugged in; whether it could be opened is not told.
    virtual void usbhidDidRemove() {}

    // An input report, or the answer to the read at the match: of length 0 if that failed.
    virtual void usbhidDidRecvData(const std::uint8_t *bytes, std::int64_t length) {
        static_cast<void>(bytes);
        static_cast<void>(length);
    }
};

} // namespace companion
