#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace companion {

// HID devices of one kind as they come and go. Everything happens on the main thread.
class HotplugWatch {
public:
    // Only its address means anything; it is never another device's later on.
    struct Device;

    using Change = std::function<void(Device *)>;
    using Report = std::function<void(std::span<const std::uint8_t>)>;

    virtual ~HotplugWatch() = default;

    // Whether there is anything to watch with. Nothing is called back before setMatching().
    virtual bool open() = 0;
    virtual bool close() = 0; // Nothing is called back any more; open devices are closed.

    // Devices with these identifiers. Those that are there already arrive on a later turn.
    virtual void setMatching(std::uint16_t vendorId, std::uint16_t productId) = 0;
    virtual void onChange(Change arrived, Change left) = 0;

    virtual std::vector<Device *> devices() const = 0;
    virtual std::string description(Device *device) const = 0;

    // What follows fails, or does nothing, for a device that has left.
    virtual bool openDevice(Device *device) = 0;
    virtual bool closeDevice(Device *device) = 0;

    // Input reports of up to `length` bytes, from now on, as long as the device is open.
    virtual void onInputReport(Device *device, std::size_t length, Report received) = 0;

    // Asks without waiting: `done` is called on a later turn, once, with nothing if the device failed or
    // `timeout` passed; not at all if the device has left or is not open.
    virtual void getFeatureReport(Device *device, std::uint8_t reportId, std::size_t length,
                                  std::chrono::milliseconds timeout, Report done) = 0;

    // Report ID 0: the device has none.
    virtual bool setOutputReport(Device *device, std::uint8_t reportId,
                                 std::span<const std::uint8_t> bytes) = 0;
};

} // namespace companion
