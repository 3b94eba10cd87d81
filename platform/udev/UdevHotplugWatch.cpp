#include "platform/udev/UdevHotplugWatch.h"

#include "platform/udev/HidrawNode.h"

#include <QSocketNotifier>

#include <libudev.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

namespace companion {

// Addresses stay unique, since a device that has left is kept, closed, as long as the watch.
struct HotplugWatch::Device {
    std::string folder; // In sysfs.
    HidrawNode node;
    bool present = true;
    bool announced = false;
};

namespace {

template <auto release>
struct Release {
    void operator()(auto *object) const { release(object); }
};
using Udev = std::unique_ptr<udev, Release<udev_unref>>;
using Monitor = std::unique_ptr<udev_monitor, Release<udev_monitor_unref>>;
using Enumeration = std::unique_ptr<udev_enumerate, Release<udev_enumerate_unref>>;
using UdevDevice = std::unique_ptr<udev_device, Release<udev_device_unref>>;

class UdevHotplugWatch final : public HotplugWatch {
public:
    explicit UdevHotplugWatch(MainQueue &queue) : m_queue(queue) {}

    bool open() override {
        m_udev.reset(udev_new());
        if (m_udev)
            m_monitor.reset(udev_monitor_new_from_netlink(m_udev.get(), "udev"));
        if (!m_monitor ||
            udev_monitor_filter_add_match_subsystem_devtype(m_monitor.get(), "hidraw", nullptr) < 0 ||
            udev_monitor_enable_receiving(m_monitor.get()) < 0) {
            m_monitor.reset();
            return false;
        }
        m_message =
            std::make_unique<QSocketNotifier>(udev_monitor_get_fd(m_monitor.get()), QSocketNotifier::Read);
        QObject::connect(m_message.get(), &QSocketNotifier::activated, m_message.get(), [this] { read(); });
        return true;
    }

    bool close() override {
        const bool wasOpen = m_monitor != nullptr;
        m_arrived = m_left = nullptr;
        m_message.reset();
        m_monitor.reset();
        for (const auto &device : m_devices)
            device->node.close();
        return wasOpen;
    }

    // The monitor already listens: what is plugged in meanwhile is seen twice rather than not at all.
    void setMatching(std::uint16_t vendorId, std::uint16_t productId) override {
        std::snprintf(m_identity, sizeof m_identity, ":%08X:%08X", vendorId, productId);
        const Enumeration nodes(udev_enumerate_new(m_udev.get()));
        udev_enumerate_add_match_subsystem(nodes.get(), "hidraw");
        udev_enumerate_scan_devices(nodes.get());
        for (auto *entry = udev_enumerate_get_list_entry(nodes.get()); entry != nullptr;
             entry = udev_list_entry_get_next(entry)) {
            const UdevDevice device(
                udev_device_new_from_syspath(m_udev.get(), udev_list_entry_get_name(entry)));
            if (device)
                add(*device);
        }
        m_queue.post(std::chrono::milliseconds(0), m_life.guard([this] { announce(); }));
    }

    void onChange(Change arrived, Change left) override {
        m_arrived = std::move(arrived);
        m_left = std::move(left);
    }

    std::vector<Device *> devices() const override {
        std::vector<Device *> present;
        for (const auto &device : m_devices)
            if (device->present)
                present.push_back(device.get());
        return present;
    }

    std::string description(Device *device) const override { return device->node.path(); }

    bool openDevice(Device *device) override { return device->present && device->node.open(); }
    bool closeDevice(Device *device) override { return device->node.close(); }

    void onInputReport(Device *device, std::size_t length, Report received) override {
        device->node.onInputReport(length, std::move(received));
    }

    void getFeatureReport(Device *device, std::uint8_t reportId, std::size_t length,
                          std::chrono::milliseconds timeout, Report done) override {
        device->node.getFeatureReport(reportId, length, timeout, std::move(done));
    }

    bool setOutputReport(Device *device, std::uint8_t reportId,
                         std::span<const std::uint8_t> bytes) override {
        return device->node.setOutputReport(reportId, bytes);
    }

private:
    void read() {
        const UdevDevice device(udev_monitor_receive_device(m_monitor.get()));
        const char *action = device ? udev_device_get_action(device.get()) : nullptr;
        if (action == nullptr)
            return;
        if (std::strcmp(action, "add") == 0) {
            add(*device);
            announce();
        } else if (std::strcmp(action, "remove") == 0) {
            remove(udev_device_get_syspath(device.get()));
        }
    }

    // The kernel's name for the HID device is the last that knows the identifiers: "HID_ID=0003:VVVV…:PPPP…".
    bool matches(udev_device &device) const {
        udev_device *hid = udev_device_get_parent_with_subsystem_devtype(&device, "hid", nullptr);
        const char *identity = hid ? udev_device_get_property_value(hid, "HID_ID") : nullptr;
        return identity != nullptr && std::string_view(identity).ends_with(m_identity);
    }

    void add(udev_device &device) {
        const char *node = udev_device_get_devnode(&device);
        const std::string folder = udev_device_get_syspath(&device);
        const bool known = std::any_of(m_devices.begin(), m_devices.end(), [&](const auto &each) {
            return each->present && each->folder == folder;
        });
        if (node != nullptr && !known && matches(device))
            m_devices.push_back(std::unique_ptr<Device>(new Device{folder, {m_queue, node}}));
    }

    void announce() {
        for (std::size_t i = 0; i < m_devices.size(); ++i)
            if (Device &device = *m_devices[i];
                device.present && !std::exchange(device.announced, true) && m_arrived)
                m_arrived(&device);
    }

    void remove(const std::string &folder) {
        const auto found = std::find_if(m_devices.begin(), m_devices.end(), [&](const auto &each) {
            return each->present && each->folder == folder;
        });
        if (found == m_devices.end())
            return;
        Device &device = **found;
        device.present = false;
        device.node.close();
        if (device.announced && m_left)
            m_left(&device);
    }

    MainQueue &m_queue;
    char m_identity[24] = "";
    Change m_arrived;
    Change m_left;
    Udev m_udev;
    Monitor m_monitor;
    std::unique_ptr<QSocketNotifier> m_message;
    std::vector<std::unique_ptr<Device>> m_devices;
    Lifetime m_life;
};

} // namespace

std::unique_ptr<HotplugWatch> makeUdevHotplugWatch(MainQueue &queue) {
    return std::make_unique<UdevHotplugWatch>(queue);
}

} // namespace companion
