#pragma once

#include "platform/ports/HidPort.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace companion {

// A receiver's HIDAPI as it behaves on real hardware: one handle at a time; what is open dies with an unplug
// and stays dead after a re-plug; removal shows only once a read has failed. Misuse that hardware would
// punish later is recorded at once.
class FakeHidPort final : public HidPort {
public:
    std::vector<std::uint8_t> reply = {0x12}; // Copied over the request; 0 to 64 bytes.
    bool stalled = false;                     // Feature reads and writes fail; the device stays.
    std::function<void()> duringRead = [] {}; // Runs inside each feature read, before its outcome.
    std::vector<std::string> calls;
    std::vector<std::vector<std::uint8_t>> sent;
    int misuses = 0; // Calls on a handle that is not open, and opening twice.

    void plug() { m_presence = m_presence != 0 ? m_presence : ++m_plugIns; }
    void unplug() { m_presence = 0; }
    void replug() {
        unplug();
        plug();
    }
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
        if (m_presence == 0 || isOpen())
            return nullptr;
        m_open = std::make_unique<Opened>(Opened{m_presence});
        return reinterpret_cast<Handle *>(m_open.get());
    }

    void close(Handle *handle) override {
        calls.emplace_back("close");
        if (check(handle))
            m_open.reset();
    }

    int getFeatureReport(Handle *handle, std::span<std::uint8_t> report) override {
        calls.push_back("read " + std::to_string(report.size()));
        if (!check(handle))
            return -1;
        duringRead();
        m_open->lastReadFailed = m_open->presence != m_presence || stalled || report[0] != 0x12;
        if (m_open->lastReadFailed)
            return -1;
        const std::size_t length = std::min(reply.size(), report.size());
        std::copy_n(reply.begin(), length, report.begin());
        return static_cast<int>(length);
    }

    int getSerialNumber(Handle *handle, std::span<wchar_t> text) override {
        calls.push_back("serial " + std::to_string(text.size()));
        if (!check(handle))
            return -1;
        text[0] = L'\0';
        return 0;
    }

    int sendFeatureReport(Handle *handle, std::span<const std::uint8_t> report) override {
        calls.push_back("send " + std::to_string(report.size()));
        if (!check(handle) || m_open->presence != m_presence || stalled)
            return -1;
        sent.emplace_back(report.begin(), report.end());
        return static_cast<int>(report.size());
    }

    bool isDisconnected(Handle *handle) override {
        return check(handle) && m_open->lastReadFailed && m_open->presence != m_presence;
    }

private:
    struct Opened {
        int presence = 0;
        bool lastReadFailed = false;
    };

    bool check(Handle *handle) {
        const bool good = isOpen() && handle == reinterpret_cast<Handle *>(m_open.get());
        misuses += !good;
        return good;
    }

    int m_plugIns = 0;
    int m_presence = 0; // Which plugging-in this is; 0 while unplugged.
    std::unique_ptr<Opened> m_open;
};

} // namespace companion
