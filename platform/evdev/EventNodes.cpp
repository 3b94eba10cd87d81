#include "platform/evdev/EventNodes.h"

#include "core/FileDescriptor.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace companion {

bool isEventNodeOf(udev_device &device, std::uint16_t vendorId, std::uint16_t productId) {
    const char *name = udev_device_get_sysname(&device);
    if (name == nullptr || !std::string_view(name).starts_with("event") ||
        udev_device_get_devnode(&device) == nullptr)
        return false;
    udev_device *usb = udev_device_get_parent_with_subsystem_devtype(&device, "usb", "usb_device");
    const auto is = [usb](const char *attribute, std::uint16_t number) {
        char digits[8]; // As the kernel writes them.
        std::snprintf(digits, sizeof digits, "%04x", number);
        const char *value = udev_device_get_sysattr_value(usb, attribute);
        return value != nullptr && std::string_view(value) == digits;
    };
    return usb != nullptr && is("idVendor", vendorId) && is("idProduct", productId);
}

std::vector<UdevDevice> eventNodesOf(udev &library, std::uint16_t vendorId, std::uint16_t productId) {
    std::vector<UdevDevice> found;
    const std::unique_ptr<udev_enumerate, UdevRelease> nodes(udev_enumerate_new(&library));
    udev_enumerate_add_match_subsystem(nodes.get(), "input");
    udev_enumerate_scan_devices(nodes.get());
    for (auto *entry = udev_enumerate_get_list_entry(nodes.get()); entry != nullptr;
         entry = udev_list_entry_get_next(entry)) {
        UdevDevice device(udev_device_new_from_syspath(&library, udev_list_entry_get_name(entry)));
        if (device && isEventNodeOf(*device, vendorId, productId))
            found.push_back(std::move(device));
    }
    return found;
}

std::vector<EventNode> findEventNodes(std::uint16_t vendorId, std::uint16_t productId) {
    std::vector<EventNode> nodes;
    const std::unique_ptr<udev, UdevRelease> library(udev_new());
    if (!library)
        return nodes;
    for (const UdevDevice &device : eventNodesOf(*library, vendorId, productId)) {
        const char *path = udev_device_get_devnode(device.get());
        const FileDescriptor file(::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
        nodes.push_back({path, file ? std::string() : std::strerror(errno)});
    }
    return nodes;
}

} // namespace companion
