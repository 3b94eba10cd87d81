#pragma once

#include "platform/ports/HidPort.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace companion {

// Writes down what is asked of a port, and misuse at once that hardware would punish later: calls on a handle
// that is not open, and opening twice.
class RecordingHidPort final : public HidPort {
public:
    explicit RecordingHidPort(HidPort &port) : m_port(port) {}

    std::vector<std::string> calls;
    int misuses = 0;

    bool isOpen() const { return m_open != nullptr; }
    std::size_t count(std::string_view call) const {
        return static_cast<std::size_t>(std::count(calls.begin(), calls.end(), call));
    }

    void init() override { calls.emplace_back("init"); }
    Handle *open(std::uint16_t vendorId, std::uint16_t productId) override {
        char text[20];
        std::snprintf(text, sizeof text, "open %04x:%04x", vendorId, productId);
        calls.emplace_back(text);
        misuses += isOpen();
        return m_open = m_port.open(vendorId, productId);
    }
    void close(Handle *handle) override {
        record("close", handle).close(handle);
        m_open = nullptr;
    }
    int getFeatureReport(Handle *handle, std::span<std::uint8_t> report) override {
        return record("read " + std::to_string(report.size()), handle).getFeatureReport(handle, report);
    }
    int getSerialNumber(Handle *handle, std::span<wchar_t> text) override {
        return record("serial " + std::to_string(text.size()), handle).getSerialNumber(handle, text);
    }
    int sendFeatureReport(Handle *handle, std::span<const std::uint8_t> report) override {
        return record("send " + std::to_string(report.size()), handle).sendFeatureReport(handle, report);
    }
    bool isDisconnected(Handle *handle) override {
        misuses += handle != m_open;
        return m_port.isDisconnected(handle);
    }

private:
    HidPort &record(std::string call, const Handle *handle) {
        calls.push_back(std::move(call));
        misuses += !isOpen() || handle != m_open;
        return m_port;
    }

    HidPort &m_port;
    Handle *m_open = nullptr;
};

} // namespace companion
