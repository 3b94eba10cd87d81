#include "platform/evdev/ReceiverKeys.h"

#include "core/Log.h"
#include "platform/evdev/EventNodes.h"
#include "platform/ports/InputMonitor.h"

#include <linux/input.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace companion {
namespace {

constexpr int kTries = 5; // To open a node that has just come: its rights may come a moment later.
constexpr std::chrono::milliseconds kBetweenTries{200};

constexpr struct {
    std::uint16_t code;
    int virtualKey;
} kSlideKeys[] = {
    {KEY_B, kVirtualKeyB},
    {KEY_F5, kVirtualKeyF5},
    {KEY_PAGEUP, kVirtualKeyPageUp},
    {KEY_PAGEDOWN, kVirtualKeyPageDown},
};

} // namespace

ReceiverKeys::ReceiverKeys(MainQueue &queue, std::uint16_t vendorId, std::uint16_t productId)
    : m_queue(queue),
      m_vendorId(vendorId),
      m_productId(productId),
      m_udev(udev_new()) {
    if (m_udev)
        m_monitor.reset(udev_monitor_new_from_netlink(m_udev.get(), "udev"));
    if (!m_monitor ||
        udev_monitor_filter_add_match_subsystem_devtype(m_monitor.get(), "input", nullptr) < 0 ||
        udev_monitor_enable_receiving(m_monitor.get()) < 0) {
        Log::line("slide keys: no news of devices that come and go; those that are there now are read");
        m_monitor.reset();
    } else {
        m_news =
            std::make_unique<QSocketNotifier>(udev_monitor_get_fd(m_monitor.get()), QSocketNotifier::Read);
        QObject::connect(m_news.get(), &QSocketNotifier::activated, m_news.get(), [this] { hear(); });
    }
    if (m_udev) // What is plugged in meanwhile is seen twice rather than not at all.
        for (const UdevDevice &device : eventNodesOf(*m_udev, vendorId, productId))
            open(udev_device_get_devnode(device.get()), kTries);
}

void ReceiverKeys::hear() {
    const UdevDevice device(udev_monitor_receive_device(m_monitor.get()));
    const char *action = device ? udev_device_get_action(device.get()) : nullptr;
    const char *path = device ? udev_device_get_devnode(device.get()) : nullptr;
    if (action == nullptr || path == nullptr)
        return;
    if (std::strcmp(action, "remove") == 0)
        drop(path);
    else if (isEventNodeOf(*device, m_vendorId, m_productId))
        open(path, kTries);
}

void ReceiverKeys::open(const std::string &path, int triesLeft) {
    if (std::any_of(m_nodes.begin(), m_nodes.end(), [&](const auto &each) { return each->path == path; }))
        return;
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!file) {
        const int error = errno;
        if (triesLeft > 1)
            return m_queue.post(kBetweenTries,
                                m_lifetime.guard([this, path, triesLeft] { open(path, triesLeft - 1); }));
        return Log::line("slide keys: " + path + ": " + std::strerror(error) +
                         "; the magnifier keeps its picture, see presenter-companion --doctor");
    }
    auto node = std::make_unique<Node>();
    node->path = path;
    node->readable = std::make_unique<QSocketNotifier>(file.get(), QSocketNotifier::Read);
    node->file = std::move(file);
    QObject::connect(node->readable.get(), &QSocketNotifier::activated, node->readable.get(),
                     [this, path] { read(path); });
    m_nodes.push_back(std::move(node));
}

void ReceiverKeys::read(const std::string &path) {
    const MainQueue::Turn turn(m_queue);
    const auto node =
        std::find_if(m_nodes.begin(), m_nodes.end(), [&](const auto &each) { return each->path == path; });
    if (node != m_nodes.end() && !pressed(**node))
        drop(path);
}

// False once the device has gone.
bool ReceiverKeys::pressed(Node &node) {
    std::array<input_event, 64> events;
    const ssize_t bytes = ::read(node.file.get(), events.data(), sizeof events);
    if (bytes < 0)
        return errno == EAGAIN || errno == EINTR;
    const auto count = static_cast<std::size_t>(bytes) / sizeof(input_event);
    for (std::size_t i = 0; i < count; ++i) {
        const input_event &event = events.at(i);
        if (event.type != EV_KEY || event.value != 1) // 0 is a release, 2 a repeat.
            continue;
        for (const auto &key : kSlideKeys)
            if (key.code == event.code && m_listener)
                m_listener(key.virtualKey);
    }
    return bytes > 0;
}

// Later: its notifier may be the one that has just spoken.
void ReceiverKeys::drop(const std::string &path) {
    for (auto &node : m_nodes) {
        if (node->path != path)
            continue;
        node->readable->setEnabled(false);
        node->readable.release()->deleteLater();
    }
    std::erase_if(m_nodes, [&](const auto &each) { return each->path == path; });
}

} // namespace companion
