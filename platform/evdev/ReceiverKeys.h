#pragma once

#include "core/FileDescriptor.h"
#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "platform/evdev/Udev.h"
#include "platform/ports/SlideKeys.h"

#include <QSocketNotifier>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace companion {

// The slide keys of a USB receiver from its own event nodes, which stay open to everybody else. Receivers may
// come and go. A node that we may not read is told in one log line each time it comes.
class ReceiverKeys final : public SlideKeys {
public:
    ReceiverKeys(MainQueue &queue, std::uint16_t vendorId, std::uint16_t productId);

    void onKeyDown(std::function<void(int keyCode)> listener) override { m_listener = std::move(listener); }

private:
    struct Node {
        std::string path;
        FileDescriptor file;
        std::unique_ptr<QSocketNotifier> readable;
    };

    void hear();
    void open(const std::string &path, int triesLeft);
    void read(const std::string &path);
    void drop(const std::string &path);
    bool pressed(Node &node);

    MainQueue &m_queue;
    const std::uint16_t m_vendorId, m_productId;
    std::function<void(int)> m_listener;
    std::unique_ptr<udev, UdevRelease> m_udev;
    std::unique_ptr<udev_monitor, UdevRelease> m_monitor;
    std::unique_ptr<QSocketNotifier> m_news;
    std::vector<std::unique_ptr<Node>> m_nodes;
    Lifetime m_lifetime;
};

} // namespace companion
