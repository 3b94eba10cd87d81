#pragma once

#include <libudev.h>

#include <memory>

namespace companion {

struct UdevRelease {
    void operator()(udev *o) const { udev_unref(o); }
    void operator()(udev_device *o) const { udev_device_unref(o); }
    void operator()(udev_enumerate *o) const { udev_enumerate_unref(o); }
    void operator()(udev_monitor *o) const { udev_monitor_unref(o); }
};
using UdevDevice = std::unique_ptr<udev_device, UdevRelease>;

} // namespace companion
