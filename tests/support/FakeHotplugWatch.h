#pragma once

#include "platform/ports/HotplugWatch.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace companion {

struct HotplugWatch::Device {
    int number;
    bool present = true;
    bool openable = true;
    bool open = false;
    HotplugWatch::Report input = {};
    HotplugWatch::Report answer = {}; // To the feature read under way.
};

// Devices in a test's hand. As with hardware, a device that has left refuses everything and stays silent.
class FakeHotplugWatch final : public HotplugWatch {
public:
    bool works = true;
    int closed = 0;
    std::vector<std::vector<std::uint8_t>> outputs;
    std::vector<int> asked; // Report ID, length and milliseconds of each feature read.
    std::string matching;

    Device *plug(bool openable = true) {
        m_devices.push_back(
            std::make_unique<Device>(Device{.number = int(m_devices.size()) + 1, .openable = openable}));
        if (m_arrived)
            m_arrived(m_devices.back().get());
        return m_devices.back().get();
    }
    void unplug(Device *device) {
        device->present = device->open = false;
        if (m_left)
            m_left(device);
    }
    void input(Device *device, const std::vector<std::uint8_t> &report) {
        if (device->open && device->input)
            device->input(report);
    }

    bool open() override { return works; }
    bool close() override {
        ++closed;
        m_arrived = m_left = nullptr;
        return true;
    }
    void setMatching(std::uint16_t vendorId, std::uint16_t productId) override {
        matching = std::to_string(vendorId) + ":" + std::to_string(productId);
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
    std::string description(Device *device) const override {
        return "device " + std::to_string(device->number);
    }
    bool openDevice(Device *device) override { return device->open = device->present && device->openable; }
    bool closeDevice(Device *device) override { return std::exchange(device->open, false); }
    void onInputReport(Device *device, std::size_t, Report received) override {
        device->input = std::move(received);
    }
    void getFeatureReport(Device *device, std::uint8_t id, std::size_t length,
                          std::chrono::milliseconds timeout, Report done) override {
        asked.insert(asked.end(), {id, int(length), int(timeout.count())});
        if (device->open)
            device->answer = std::move(done);
    }
    bool setOutputReport(Device *device, std::uint8_t id, std::span<const std::uint8_t> bytes) override {
        if (!device->open)
            return false;
        outputs.emplace_back(1, id);
        outputs.back().insert(outputs.back().end(), bytes.begin(), bytes.end());
        return true;
    }

private:
    Change m_arrived;
    Change m_left;
    std::vector<std::unique_ptr<Device>> m_devices;
};

} // namespace companion
