#pragma once

#include <cstdint>
#include <span>

namespace companion {

// The calls of the HIDAPI library that the receiver link makes, plus the removal test that the library lacks.
// Synchronous, main thread only.
class HidPort {
public:
    // An open device; only its address means anything.
    struct Handle;

    virtual ~HidPort() = default;

    // hid_init.
    virtual void init() = 0;

    // hid_open with no serial number: the first device that matches, or null. Released by close() only.
    virtual Handle *open(std::uint16_t vendorId, std::uint16_t productId) = 0;

    // hid_close.
    virtual void close(Handle *handle) = 0;

    // hid_get_feature_report: report[0] selects the report; returns the reply's length, or -1.
    virtual int getFeatureReport(Handle *handle, std::span<std::uint8_t> report) = 0;

    // hid_get_serial_number_string: 0, or -1.
    virtual int getSerialNumber(Handle *handle, std::span<wchar_t> text) = 0;

    // hid_send_feature_report: returns the length written, or -1.
    virtual int sendFeatureReport(Handle *handle, std::span<const std::uint8_t> report) = 0;

    // Whether the device was removed since it was opened. A stall or a time-out is no removal.
    virtual bool isDisconnected(Handle *handle) = 0;
};

} // namespace companion
