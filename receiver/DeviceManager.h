#pragma once

#include "platform/ports/HotplugWatch.h"
#include "receiver/DeviceManagerDelegate.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace companion {

// A second way to a HID device, apart from the receiver link: opens the device that carries the monitored
// identifiers when it is plugged in, listens to it, and tells a delegate. Nothing in the program creates one;
// whoever does starts watching at once.
//
// One device is tracked: a second one takes the first one's place, and the removal of either ends it.
// Failures are logged and otherwise ignored. Main thread only, but for alloc() and sharedInstance().
class DeviceManager {
public:
    struct Needs {
        std::function<std::unique_ptr<HotplugWatch>()> makeWatch;
        std::uint16_t vendorId;
        std::uint16_t productId;
    };

    // What instances are made with while it is in scope. One at a time; shared instances end with it.
    class UseNeeds {
    public:
        explicit UseNeeds(Needs needs);
        ~UseNeeds();
        UseNeeds(const UseNeeds &) = delete;
        UseNeeds &operator=(const UseNeeds &) = delete;
    };

    // A new instance, already watching, which becomes the shared one in the place of any earlier one. Not to
    // be called by a delegate.
    static std::shared_ptr<DeviceManager> alloc();

    // The latest instance; makes one if there is none.
    static std::shared_ptr<DeviceManager> sharedInstance();

    ~DeviceManager();
    DeviceManager(const DeviceManager &) = delete;
    DeviceManager &operator=(const DeviceManager &) = delete;

    // Takes the first device that is there, without opening it.
    void connectHID();

    // Output report without a report ID.
    void sendData(std::span<const std::uint8_t, 8> data);

    HotplugWatch *getManageRef() const { return m_manager; }
    void setManageRef(HotplugWatch *manager) { m_manager = manager; }
    HotplugWatch::Device *getDeviceRef() const { return m_device; }
    void setDeviceRef(HotplugWatch::Device *device) { m_device = device; }

    const std::shared_ptr<DeviceManagerDelegate> &delegate() const { return m_delegate; }
    void setDelegate(std::shared_ptr<DeviceManagerDelegate> delegate) { m_delegate = std::move(delegate); }

private:
    explicit DeviceManager(const Needs &needs);
    static std::shared_ptr<DeviceManager> current();

    void init(std::uint16_t vendorId, std::uint16_t productId);
    void matched(HotplugWatch &manager, HotplugWatch::Device *device);
    void removed(HotplugWatch &manager, HotplugWatch::Device *device);
    void received(const char *line, std::span<const std::uint8_t> report);

    std::unique_ptr<HotplugWatch> m_watch;
    HotplugWatch *m_manager = nullptr; // The watch, unless set otherwise; null once closed.
    HotplugWatch::Device *m_device = nullptr;
    std::shared_ptr<DeviceManagerDelegate> m_delegate;
    std::array<std::uint8_t, 256> m_featureReport{}; // Of the read at the match.
};

} // namespace companion
