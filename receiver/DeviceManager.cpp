#include "receiver/DeviceManager.h"

#include "core/Log.h"

#include <algorithm>
#include <cassert>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace companion {
namespace {

using namespace std::chrono_literals;
constexpr std::size_t kReportLength = 64;
constexpr auto kReadTimeout = 1s;

// The lock of the class: an instance may be asked for while one is being made.
std::recursive_mutex s_lock;
std::shared_ptr<DeviceManager> s_shared;
std::optional<DeviceManager::Needs> s_needs;

} // namespace

DeviceManager::UseNeeds::UseNeeds(Needs needs) {
    const std::lock_guard lock(s_lock);
    s_needs = std::move(needs);
}

DeviceManager::UseNeeds::~UseNeeds() {
    const std::lock_guard lock(s_lock);
    s_shared.reset();
    s_needs.reset();
}

std::shared_ptr<DeviceManager> DeviceManager::alloc() {
    const std::lock_guard lock(s_lock);
    assert(s_needs);
    const std::shared_ptr<DeviceManager> instance(new DeviceManager(*s_needs));
    s_shared = instance; // Before it starts: what it hears goes to the shared instance.
    instance->init(s_needs->vendorId, s_needs->productId);
    return instance;
}

std::shared_ptr<DeviceManager> DeviceManager::sharedInstance() {
    const std::lock_guard lock(s_lock);
    return s_shared ? s_shared : alloc();
}

std::shared_ptr<DeviceManager> DeviceManager::current() {
    const std::lock_guard lock(s_lock);
    return s_shared;
}

DeviceManager::DeviceManager(const Needs &needs) : m_watch(needs.makeWatch()), m_manager(m_watch.get()) {}

void DeviceManager::init(std::uint16_t vendorId, std::uint16_t productId) {
    if (!m_manager->open()) {
        Log::line("打开设备失败!");
        return;
    }
    Log::line("打开设备成功!");
    m_manager->setMatching(vendorId, productId);
    // The callbacks have no context of their own: they concern the shared instance, whichever it is then.
    HotplugWatch &manager = *m_manager;
    m_manager->onChange(
        [&manager](HotplugWatch::Device *device) {
            if (const auto shared = current())
                shared->matched(manager, device);
        },
        [&manager](HotplugWatch::Device *device) {
            if (const auto shared = current())
                shared->removed(manager, device);
        });
    if (const std::size_t count = m_manager->devices().size(); count == 0)
        Log::format("初始化 - 连接设备  设备列表  -- %zu", count); // Only then.
}

DeviceManager::~DeviceManager() {
    if (m_manager == nullptr)
        return;
    if (m_device != nullptr && m_manager->closeDevice(m_device))
        m_device = nullptr;
    if (m_manager->close())
        m_manager = nullptr;
}

void DeviceManager::matched(HotplugWatch &manager, HotplugWatch::Device *device) {
    m_device = device;
    Log::line(manager.openDevice(device) ? "打开成功" : "打开失败");
    manager.onInputReport(device, kReportLength, [](std::span<const std::uint8_t> report) {
        if (const auto shared = current())
            shared->received("接受到数据--1", report);
    });
    m_featureReport.fill(0);
    manager.getFeatureReport(device, 0, kReportLength, kReadTimeout,
                             [](std::span<const std::uint8_t> answer) {
                                 const auto shared = current();
                                 if (!shared)
                                     return;
                                 auto &buffer = shared->m_featureReport;
                                 const std::size_t length = std::min(answer.size(), buffer.size());
                                 std::copy_n(answer.begin(), length, buffer.begin());
                                 shared->received("接受到数据--2", std::span(buffer).first(length));
                             });
    Log::format("%p \n设备插入,现在usb设备数量:%zu", static_cast<void *>(device), manager.devices().size());
    if (m_delegate)
        m_delegate->usbhidDidMatch();
}

void DeviceManager::removed(HotplugWatch &manager, HotplugWatch::Device *device) {
    m_device = nullptr;
    Log::format("%p \n设备拔出,现在usb设备数量:%zu", static_cast<void *>(device), manager.devices().size());
    if (m_delegate)
        m_delegate->usbhidDidRemove();
}

void DeviceManager::received(const char *line, std::span<const std::uint8_t> report) {
    Log::line(line);
    if (m_delegate)
        m_delegate->usbhidDidRecvData(report.data(), static_cast<std::int64_t>(report.size()));
}

void DeviceManager::connectHID() {
    const auto devices = m_manager ? m_manager->devices() : std::vector<HotplugWatch::Device *>();
    m_device = devices.empty() ? nullptr : devices.front();
    std::string list;
    for (HotplugWatch::Device *device : devices)
        list += (list.empty() ? "" : ", ") + m_manager->description(device);
    Log::line("设备：(" + list + ")");
    Log::format("连接设备  设备列表  -- %zu", devices.size());
}

void DeviceManager::sendData(std::span<const std::uint8_t, 8> data) {
    if (m_device == nullptr) {
        Log::line("没有找到设备 - ");
        return;
    }
    const bool sent = m_manager != nullptr && m_manager->setOutputReport(m_device, 0, data);
    Log::line(sent ? "发送数据成功!" : "发送数据失败!");
}

} // namespace companion
